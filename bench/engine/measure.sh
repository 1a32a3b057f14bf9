#!/usr/bin/env bash
# Instruction counts (callgrind) of the engine programs. Usage: measure.sh MARL
set -u
marl=$1
dir=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
for p in "$dir"/*.mr; do
  n=$(basename "$p" .mr)
  valgrind --tool=callgrind --callgrind-out-file="$tmp/$n.cg" "$marl" "$p" >"$tmp/$n.out" 2>"$tmp/$n.log"
  ir=$(grep -o 'refs: *[0-9,]*' "$tmp/$n.log" | tr -dc 0-9)
  printf '%-10s %14s  %s\n' "$n" "$ir" "$(tr '\n' ' ' <"$tmp/$n.out")"
done
