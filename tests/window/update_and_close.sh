#!/usr/bin/env bash
# The window follows the picture while automatic update is on, keeps the last
# shown frame while it is off until update(), and closing it lets the script go
# on; the script then ends at once. Usage: update_and_close.sh MARL
set -u
marl=$1
here=$(cd "$(dirname "$0")" && pwd)
source "$here/xvfb_session.sh"
require_tools Xvfb xdotool import convert
start_xvfb

cp "$here/stepped.mr" "$work/"
mkfifo "$work/in"
(cd "$work" && exec "$marl" stepped.mr <in >stdout 2>stderr) &
marl_pid=$!
exec 4>"$work/in"  # the script's standard input, one line per step

wait_for 30 grep -q "red shown" "$work/stdout" || fail "no first step"
wait_for 15 xdotool search --onlyvisible --name "^MARL graphics$" || fail "no window"
wid=$(xdotool search --onlyvisible --name "^MARL graphics$" | head -1)
wait_for 10 window_shows "$wid" 10 10 "255,0,0" || fail "the window does not show red"

echo >&4
wait_for 30 grep -q "blue drawn" "$work/stdout" || fail "no second step"
sleep 0.5  # many repaint periods
window_shows "$wid" 10 10 "255,0,0" || fail "repainted while automatic update was off"

echo >&4
wait_for 30 grep -q "blue shown" "$work/stdout" || fail "no third step"
wait_for 10 window_shows "$wid" 10 10 "0,0,255" || fail "update() did not show blue"

xdotool windowfocus --sync "$wid"
xdotool key Escape
wait_for 10 bash -c "! xdotool search --onlyvisible --name '^MARL graphics'" ||
  fail "Escape did not close the window"
echo >&4
wait_for 15 bash -c "! kill -0 $marl_pid" || fail "marl still running"
wait "$marl_pid"
status=$?
marl_pid=""
[ "$status" = 4 ] || fail "marl ended with status $status"
grep -q "drawing after close: true" "$work/stdout" || fail "stdout: $(cat "$work/stdout")"
echo "update and close test passed"
