#!/usr/bin/env bash
# Formats every tracked C++ source with the checked-in .clang-format.
# Usage: tools/format.sh          rewrite the files in place
#        tools/format.sh --check  change nothing; list the files that differ, fail if any
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
formatter=${CLANG_FORMAT:-clang-format-14}
command -v "$formatter" >/dev/null || { echo "format: $formatter not found" >&2; exit 2; }

# Headers under tests/scripts/ are MARL sources for the preprocessor, not C++.
mapfile -t files < <(git ls-files -- '*.cpp' '*.hpp' '*.h' '*.c' ':!:tests/scripts/**')
if [ "${1:-}" = --check ]; then
  differ=0
  for f in "${files[@]}"; do
    if ! "$formatter" --style=file "$f" | cmp -s - "$f"; then
      echo "$f"
      differ=1
    fi
  done
  [ "$differ" = 0 ] || echo "format: the files above differ from .clang-format (run tools/format.sh)" >&2
  exit "$differ"
fi
[ "${#files[@]}" = 0 ] || "$formatter" --style=file -i "${files[@]}"
