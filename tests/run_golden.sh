#!/usr/bin/env bash
# Runs every NAME.mr in a folder and compares its standard output, standard error
# and exit status with NAME.out, NAME.err and NAME.status (missing files mean
# empty output and status 0). NAME.in, when present, is the standard input;
# NAME.cmd, when present, is a bash command line run instead of `$MARL NAME.mr`.
# Each script runs in a scratch copy of its folder, so it may write files.
# MARL_GOLDEN_SKIP lists names (space-separated) not to run, for runners that
# wrap marl in something the script can see.
set -u
# Sanitizer builds run several times slower, so the caller may widen the limit.
limit=${MARL_GOLDEN_TIMEOUT:-60}
marl=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
dir=$(cd "$2" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
pass=0 fail=0
for script in "$dir"/*.mr; do
  [ -e "$script" ] || continue
  name=$(basename "$script" .mr)
  case " ${MARL_GOLDEN_SKIP:-} " in *" $name "*) continue ;; esac
  work="$scratch/$name"
  mkdir -p "$work"
  cp -r "$dir"/. "$work"/
  input=/dev/null
  [ -f "$dir/$name.in" ] && input="$dir/$name.in"
  if [ -f "$dir/$name.cmd" ]; then
    (cd "$work" && MARL="$marl" timeout "$limit" bash "$dir/$name.cmd" <"$input" >"$work/.stdout" 2>"$work/.stderr")
  else
    (cd "$work" && timeout "$limit" "$marl" "$name.mr" <"$input" >"$work/.stdout" 2>"$work/.stderr")
  fi
  status=$?
  expected_status=0
  [ -f "$dir/$name.status" ] && expected_status=$(tr -d ' \n' <"$dir/$name.status")
  ok=1
  for stream in out err; do
    expected="$dir/$name.$stream"
    [ -f "$expected" ] || expected=/dev/null
    actual="$work/.std$stream"
    if ! cmp -s "$expected" "$actual"; then
      ok=0
      echo "--- $name: std$stream differs"
      diff <(od -c "$expected") <(od -c "$actual") | head -20
    fi
  done
  if [ "$status" != "$expected_status" ]; then
    ok=0
    echo "--- $name: exit status $status, expected $expected_status"
  fi
  if [ $ok = 1 ]; then pass=$((pass + 1)); else fail=$((fail + 1)); echo "FAIL $name"; fi
done
echo "$pass passed, $fail failed"
[ $fail = 0 ]
