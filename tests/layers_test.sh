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

# With object files: a lower folder that calls a function only an upper one
# defines (declared by hand, so no include shows it) is rejected.
cxx=${CXX:-c++}
objects=$(mktemp -d)
trap 'rm -rf "$tree" "$objects"' EXIT
rm "$tree/runtime/bad.hpp"
mkdir -p "$objects/runtime" "$objects/eval"
printf 'int evalOnly() { return 1; }\n' >"$tree/eval/ok.cpp"
printf 'int runtimeOwn() { return 2; }\n' >"$tree/runtime/fine.cpp"
"$cxx" -c "$tree/eval/ok.cpp" -o "$objects/eval/ok.cpp.o"
"$cxx" -c "$tree/runtime/fine.cpp" -o "$objects/runtime/fine.cpp.o"
"$check" "$tree" "$objects" >/dev/null || { echo "objects without upward references were rejected"; exit 1; }
printf 'int evalOnly();\nint useIt() { return evalOnly(); }\n' >"$tree/runtime/calls_up.cpp"
"$cxx" -c "$tree/runtime/calls_up.cpp" -o "$objects/runtime/calls_up.cpp.o"
if out=$("$check" "$tree" "$objects" 2>&1); then
  echo "an upward reference was accepted"
  exit 1
fi
grep -q 'runtime/ uses evalOnly(), defined in eval/' <<<"$out" ||
  { echo "unexpected report: $out"; exit 1; }
# A removed source's stale object is not held against the tree.
rm "$tree/runtime/calls_up.cpp"
"$check" "$tree" "$objects" >/dev/null || { echo "a stale object was checked"; exit 1; }
echo "layer check ok"
