#!/usr/bin/env bash
# Times the same algorithms in MARL, Lua, Python and Perl (best of 3 wall-clock runs).
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
marl=${1:-$root/build/bin/marl}
best() {
  local b=999999
  for _ in 1 2 3; do
    local s=$(date +%s%N); "$@" >/dev/null 2>&1; local e=$(date +%s%N)
    local ms=$(( (e - s) / 1000000 )); [ $ms -lt $b ] && b=$ms
  done
  echo $b
}
printf "%-10s %8s %8s %8s %8s\n" script marl lua5.4 python3 perl
for s in fib loops; do
  d=$root/bench/scripts
  printf "%-10s %6sms %6sms %6sms %6sms\n" $s "$(best "$marl" $d/$s.mr)" \
    "$(best lua5.4 $d/$s.lua)" "$(best python3 $d/$s.py)" "$(best perl $d/$s.pl)"
done
