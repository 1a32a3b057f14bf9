#!/usr/bin/env bash
# The layer check itself: it must reject an upward include and accept the tree.
set -euo pipefail
check=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir -p "$tree/runtime" "$tree/eval" "$tree/driver"
printf '#include "runtime/value.hpp"\n#include <vector>\n' >"$tree/eval/ok.cpp"
printf '#include "eval/ok.hpp"\n' >"$tree/driver/ok.cpp"
"$check" "$tree" >/dev/null || { echo "a downward include was rejected"; exit 1; }
printf '  #include "eval/evaluator.hpp"\n' >"$tree/runtime/bad.hpp"
if out=$("$check" "$tree" 2>&1); then
  echo "an upward include was accepted"
  exit 1
fi
grep -q 'runtime/bad.hpp:1: runtime/ may not include eval/' <<<"$out" ||
  { echo "unexpected report: $out"; exit 1; }
echo "layer check ok"
