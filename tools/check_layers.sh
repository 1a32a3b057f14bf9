#!/usr/bin/env bash
# Fails when a source includes a header from a folder above its own layer,
# and, given the object files, when code refers to a symbol that only a
# folder above it defines (a declaration written by hand gets past the
# include check, not past the linker's view).
# Usage: tools/check_layers.sh [source-root [objects]]
#   objects: a folder with one subfolder of .o files per source folder
#            (CMake's CMakeFiles/marlcore.dir)
set -euo pipefail
root=${1:-$(cd "$(dirname "$0")/.." && pwd)}
objects=${2:-}

# Each folder with the folders it may include from. The order, bottom up:
# runtime <- io <- frontend <- eval <- builtins <- graphics/external <- driver <- host.
declare -A allowed=(
  [runtime]=""
  [preprocessor]="runtime"
  [io]="runtime"
  [frontend]="runtime io"
  [eval]="runtime io frontend"
  [builtins]="runtime io frontend eval"
  [graphics]="runtime io frontend eval builtins"
  [external]="runtime io frontend eval builtins"
  [driver]="runtime io frontend eval builtins graphics external preprocessor"
  [host]=""
)

bad=0
for folder in "${!allowed[@]}"; do
  [ -d "$root/$folder" ] || continue
  while IFS= read -r hit; do
    file=${hit%%:*}
    rest=${hit#*:}
    line=${rest%%:*}
    target=$(sed -E 's/^[^"]*"([^/"]+)\/.*$/\1/' <<<"${rest#*:}")
    [ "$target" = "$folder" ] && continue
    # Only the project's own folders are layered; generated headers and
    # system paths are not.
    [ -n "${allowed[$target]+set}" ] || continue
    if [[ " ${allowed[$folder]} " != *" $target "* ]]; then
      echo "${file#"$root"/}:$line: $folder/ may not include $target/" >&2
      bad=1
    fi
  done < <(grep -rnE '^[[:space:]]*#[[:space:]]*include[[:space:]]+"[^/"]+/' "$root/$folder" \
             --include='*.cpp' --include='*.hpp' --include='*.h' --include='*.c' \
             --include='*.y' --include='*.l' || true)
done

if [ -n "$objects" ]; then
  tmp=$(mktemp -d)
  trap 'rm -rf "$tmp"' EXIT
  folders=()
  for folder in "${!allowed[@]}"; do
    # Only objects whose source still exists: a removed file leaves its .o behind.
    files=()
    for o in "$objects/$folder"/*.o; do
      [ -f "$o" ] || continue
      source=$(basename "$o" .o)
      stem=${source%.*}  # the scanner and parser are generated from .l and .y
      if [ -f "$root/$folder/$source" ] || [ -f "$root/$folder/$stem.y" ] ||
        [ -f "$root/$folder/$stem.l" ]; then
        files+=("$o")
      fi
    done
    [ "${#files[@]}" -gt 0 ] || continue
    folders+=("$folder")
    nm --defined-only -g "${files[@]}" | awk 'NF == 3 { print $3 }' | sort -u >"$tmp/def.$folder"
    nm -u "${files[@]}" | awk 'NF == 2 { print $2 }' | sort -u >"$tmp/undef.$folder"
  done
  for folder in "${folders[@]}"; do
    # What the folder and the folders below it define is fine to use.
    cat "$tmp/def.$folder" >"$tmp/own"
    for below in ${allowed[$folder]}; do
      [ -f "$tmp/def.$below" ] && cat "$tmp/def.$below" >>"$tmp/own"
    done
    sort -u "$tmp/own" -o "$tmp/own"
    comm -23 "$tmp/undef.$folder" "$tmp/own" >"$tmp/missing"
    for above in "${folders[@]}"; do
      [ "$above" = "$folder" ] && continue
      while IFS= read -r symbol; do
        name=$(c++filt "$symbol" 2>/dev/null || echo "$symbol")
        echo "$folder/ uses $name, defined in $above/" >&2
        bad=1
      done < <(comm -12 "$tmp/missing" "$tmp/def.$above")
    done
  done
fi

[ "$bad" = 0 ] && echo "layers: no upward includes${objects:+ or references}"
exit "$bad"
