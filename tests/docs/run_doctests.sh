#!/usr/bin/env bash
# Checks the examples in the documentation against the output they claim.
#
# Usage: run_doctests.sh MARL DOCS_DIR
#
# Two kinds of fenced blocks are checked (see docs/README.md):
#  - a ```marl block followed (blank lines allowed) by an ```output block: the
#    first is run as a script, and its standard output and standard error
#    together must be the second;
#  - a ```console block: each line starting with "$ " is a shell command
#    (with `marl` on the PATH), and the lines up to the next "$ " line are
#    its expected output (standard output and standard error together).
# Each test runs in a fresh scratch folder, so examples may write files.
set -u
marl=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
docs=$(cd "$2" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/bin"
ln -s "$marl" "$scratch/bin/marl"
pass=0 fail=0

# Splits one Markdown file into numbered test files: N.mr + N.out, or N.sh + N.out;
# N.where names the file and line.
extract() {
  awk -v dir="$2" -v file="$1" '
    function flush_pending() { pending = "" }
    /^```/ {
      if (!inblock) {
        inblock = 1; kind = substr($0, 4); gsub(/[ \t]+$/, "", kind); start = FNR; body = ""
        next
      }
      inblock = 0
      if (kind == "marl") { pending = body; pendingline = start; next }
      if (kind == "output" && pending != "") {
        n++; base = dir "/" n
        printf "%s", pending > (base ".mr"); close(base ".mr")
        printf "%s", body > (base ".out"); close(base ".out")
        print file ":" pendingline > (base ".where"); close(base ".where")
        pending = ""; next
      }
      if (kind == "console") {
        n++; base = dir "/" n; script = ""; expect = ""
        cnt = split(body, lines, "\n")
        for (i = 1; i < cnt; i++) {
          if (substr(lines[i], 1, 2) == "$ ") script = script substr(lines[i], 3) " 2>&1\n"
          else { script = script "cat <<'"'"'EXPECTED_END'"'"' >>.expected\n" lines[i] "\nEXPECTED_END\n"; expect = expect lines[i] "\n" }
        }
        printf "%s", script > (base ".sh"); close(base ".sh")
        print file ":" start > (base ".where"); close(base ".where")
      }
      pending = ""; next
    }
    inblock { body = body $0 "\n"; next }
    NF { pending = "" }
  ' "$1"
}

while IFS= read -r -d '' md; do
  rel=${md#"$docs"/}
  tests="$scratch/tests/$rel"
  mkdir -p "$tests"
  extract "$md" "$tests"
  for where in "$tests"/*.where; do
    [ -e "$where" ] || continue
    base=${where%.where}
    work="$scratch/work"
    rm -rf "$work" && mkdir -p "$work"
    if [ -f "$base.mr" ]; then
      cp "$base.mr" "$work/example.mr"
      (cd "$work" && PATH="$scratch/bin:$PATH" timeout 30 marl example.mr >"$work/.actual" 2>&1)
      expected="$base.out"
    else
      # Commands and expected lines are interleaved: run the commands, collect the
      # expected text beside them, then compare the two.
      (cd "$work" && PATH="$scratch/bin:$PATH" timeout 30 bash "$base.sh" >"$work/.actual" 2>&1)
      expected="$work/.expected"
      [ -f "$expected" ] || : >"$expected"
    fi
    if cmp -s "$expected" "$work/.actual"; then
      pass=$((pass + 1))
    else
      fail=$((fail + 1))
      echo "--- $(cat "$where"): output differs (expected, then actual)"
      diff "$expected" "$work/.actual" | head -20
    fi
  done
done < <(find "$docs" -name '*.md' -print0 | sort -z)

echo "$pass passed, $fail failed"
[ "$fail" -eq 0 ] && [ "$pass" -gt 0 ]
