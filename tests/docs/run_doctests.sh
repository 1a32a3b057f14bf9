#!/usr/bin/env bash
# Checks the examples in the documentation.
#
# Usage: run_doctests.sh MARL DOCS_DIR [PAGE.md...]
#   With pages, only those are checked (paths relative to DOCS_DIR or absolute).
#
# Three kinds of fenced blocks are checked (see docs/README.md):
#  - a ```marl block followed (blank lines and HTML comments allowed) by an
#    ```output block: the first is run as a script, and its standard output and
#    standard error together must be the second;
#  - any other ```marl block must at least be read without complaint: it runs
#    behind an exit(0) (and with an empty main), so the preprocessor and the parser
#    see all of it but none of it executes, and anything it prints is a fault;
#  - a ```console block: each line starting with "$ " is a shell command (with
#    `marl` on the PATH), and the lines up to the next "$ " line are its expected
#    output (standard output and standard error together).
# A line "<!-- doctest: needs dotnet -->" before a block makes the example run only
# where marl can start the .NET runtime (it is skipped, and counted, elsewhere).
# A block fenced as ```LANG file=NAME is not checked itself: it is written as the
# file NAME into the folder of the next checked example, which may use it.
# Each example runs in a fresh scratch folder with no standard input, so examples
# may write files. A failure names the page and line of the block and shows the
# difference.
set -u
marl=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
docs=$(cd "$2" && pwd)
shift 2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/bin"
ln -s "$marl" "$scratch/bin/marl"
export PATH="$scratch/bin:$PATH"
# Graphics examples draw into the picture only; no window opens, even on a desktop.
export DISPLAY= WAYLAND_DISPLAY= MARL_GRAPHICS_WAIT=0
pass=0 fail=0

# Splits one Markdown file into numbered tests in $2: N.mr + N.out (run and
# compare), N.mr + N.parse (read only), or N.sh (console); N.where names the
# page and line. Files an example needs are N.K.file, named in N.files.
extract() {
  awk -v dir="$2" -v file="$3" '
    function emit(ext, text, line,   base) {
      n++; base = sprintf("%s/%04d", dir, n)
      printf "%s", text > (base ext); close(base ext)
      print file ":" line > (base ".where"); close(base ".where")
      for (k = 1; k <= nfiles; k++) {
        printf "%s", fbody[k] > (base "." k ".file"); close(base "." k ".file")
        print fname[k] > (base ".files")
      }
      if (nfiles) close(base ".files")
      nfiles = 0
      if (needs != "") { print needs > (base ".needs"); close(base ".needs"); needs = "" }
      return base
    }
    # A marl block with no output after it is only read: exit(0) stops the
    # top-level statements and the empty mains replace any the block defines.
    function flush_pending(   base) {
      if (pending == "") return
      base = emit(".mr", "exit(0);\n#line 1\n" pending "\nfunction main() {}\nfunction main(a) {}\n", pendingline)
      print "" > (base ".parse"); close(base ".parse")
      pending = ""
    }
    /^```/ {
      if (!inblock) {
        inblock = 1; kind = substr($0, 4); gsub(/[ \t]+$/, "", kind); start = FNR; body = ""
        if (kind != "output" && kind !~ / file=/) flush_pending()
        next
      }
      inblock = 0
      if (kind ~ / file=[^ ]+$/) {
        nfiles++; fname[nfiles] = kind; sub(/.* file=/, "", fname[nfiles]); fbody[nfiles] = body
        next
      }
      if (kind == "marl") { pending = body; pendingline = start; next }
      if (kind == "output" && pending != "") {
        base = emit(".mr", pending, pendingline)
        printf "%s", body > (base ".out"); close(base ".out")
        pending = ""; next
      }
      if (kind == "console") {
        script = ""
        cnt = split(body, lines, "\n")
        for (i = 1; i < cnt; i++) {
          if (substr(lines[i], 1, 2) == "$ ") script = script substr(lines[i], 3) " 2>&1\n"
          else script = script "cat <<'"'"'EXPECTED_END'"'"' >>.expected\n" lines[i] "\nEXPECTED_END\n"
        }
        emit(".sh", script, start)
      }
      next
    }
    inblock { body = body $0 "\n"; next }
    /^<!-- doctest: needs [a-z]+ -->$/ { flush_pending(); needs = $4; next }
    # Blank lines and one-line HTML comments may stand between a block and its output.
    /^[ \t]*$/ || /^[ \t]*<!--.*-->[ \t]*$/ { next }
    { flush_pending() }
    END { flush_pending() }
  ' "$1"
}

pages=()
if [ $# -gt 0 ]; then
  for p in "$@"; do
    case $p in /*) pages+=("$p") ;; *) pages+=("$docs/$p") ;; esac
  done
else
  while IFS= read -r -d '' md; do pages+=("$md"); done < <(find "$docs" -name '*.md' -print0 | sort -z)
fi

for md in "${pages[@]}"; do
  rel=${md#"$docs"/}
  tests="$scratch/tests/$rel"
  mkdir -p "$tests"
  extract "$md" "$tests" "docs/$rel"
done

report() {  # where, what, expected file, actual file
  fail=$((fail + 1))
  echo "--- $1: $2 (expected, then actual)"
  diff "$3" "$4" | head -20
}

# What an example may need, and whether this machine has it.
has_dotnet() {
  [ -z "$(marl -e 'dotnet("mscorlib", "System.Object")' 2>&1 </dev/null)" ]
}
declare -A have=()
skipped=0

work="$scratch/work"
while IFS= read -r -d '' where; do
  base=${where%.where}
  if [ -f "$base.needs" ]; then
    need=$(cat "$base.needs")
    if [ -z "${have[$need]:-}" ]; then
      if has_"$need" 2>/dev/null; then have[$need]=yes; else have[$need]=no; fi
    fi
    if [ "${have[$need]}" = no ]; then
      skipped=$((skipped + 1))
      continue
    fi
  fi
  rm -rf "$work" && mkdir "$work"
  if [ -f "$base.files" ]; then
    k=0
    while IFS= read -r name; do
      k=$((k + 1))
      cp "$base.$k.file" "$work/$name"
    done <"$base.files"
  fi
  if [ -f "$base.sh" ]; then
    # Commands and expected lines are interleaved: run the commands, collect the
    # expected text beside them, then compare the two.
    (cd "$work" && timeout 30 bash "$base.sh" >"$work/.actual" 2>&1 </dev/null)
    expected="$work/.expected"
    [ -f "$expected" ] || : >"$expected"
    what="output differs"
  else
    cp "$base.mr" "$work/example.mr"
    (cd "$work" && timeout 30 marl example.mr >"$work/.actual" 2>&1 </dev/null)
    status=$?
    if [ -f "$base.parse" ]; then
      expected="$base.parse"
      : >"$expected"
      what="is not read cleanly"
      # A crash (a signal) is a fault even when nothing was printed.
      [ "$status" -ge 128 ] && echo "status $status" >>"$work/.actual"
    else
      expected="$base.out"
      what="output differs"
    fi
  fi
  if cmp -s "$expected" "$work/.actual"; then
    pass=$((pass + 1))
  else
    report "$(cat "$where")" "$what" "$expected" "$work/.actual"
  fi
done < <(find "$scratch/tests" -name '*.where' -print0 | sort -z)

echo "$pass passed, $fail failed, $skipped skipped (their needs are missing here)"
[ "$fail" -eq 0 ] && [ "$pass" -gt 0 ]
