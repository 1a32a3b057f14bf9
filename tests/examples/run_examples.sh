#!/usr/bin/env bash
# Runs the example scripts that have an expected output here, NAME.out
# (standard output and standard error together), and checks their status is 0.
# The graphics examples open windows and are checked by the graphics tests.
# Usage: run_examples.sh MARL EXAMPLES_DIR
# inplace.mr is run with -x over two sample files, which are checked too.
set -u
marl=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
examples=$(cd "$2" && pwd)
expected=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
pass=0 fail=0
check() {  # name, actual file, status
  if [ "$3" -eq 0 ] && cmp -s "$expected/$1.out" "$2"; then
    pass=$((pass + 1))
  else
    fail=$((fail + 1))
    echo "--- $1: status $3; expected, then actual:"
    diff "$expected/$1.out" "$2" | head -20
  fi
}
for out in "$expected"/*.out; do
  name=$(basename "$out" .out)
  script="$examples/$name.mr"
  work="$scratch/$name"
  mkdir -p "$work"
  if [ "$name" = inplace ]; then
    printf 'a\tb  \nsecond\n' >"$work/one.txt"
    printf 'x\n' >"$work/two.txt"
    cp "$script" "$work/"
    (cd "$work" && timeout 60 "$marl" -x inplace.mr one.txt two.txt >"$work/.actual" 2>&1)
    status=$?
    cat "$work/one.txt" "$work/two.txt" "$work/one.txt.bak" >>"$work/.actual"
  else
    timeout 60 "$marl" "$script" -a "$work/data" >"$work/.actual" 2>&1
    status=$?
  fi
  check "$name" "$work/.actual" "$status"
done
echo "$pass passed, $fail failed"
[ "$fail" -eq 0 ] && [ "$pass" -gt 0 ]
