#!/usr/bin/env bash
# Fails when a source includes a header from a folder above its own layer.
# Usage: tools/check_layers.sh [source-root]
set -euo pipefail
root=${1:-$(cd "$(dirname "$0")/.." && pwd)}

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
[ "$bad" = 0 ] && echo "layers: no upward includes"
exit "$bad"
