#!/usr/bin/env bash
# With a display but without the window library (MARL_GTK_LIBRARY names a file
# that does not exist) a script runs as on a server: no window opens and the
# script does not wait for one to be closed. Usage: missing_toolkit.sh MARL
set -u
marl=$1
here=$(cd "$(dirname "$0")" && pwd)
source "$here/xvfb_session.sh"
require_tools Xvfb xdotool
start_xvfb

cat >"$work/draw.mr" <<'MR'
screen(30, 20);
fill(0, 0, 29, 19, 0xFF0000);
update();
print(point(1, 1) == 0xFF0000);
exit(0);
MR
(cd "$work" && MARL_GTK_LIBRARY=/nonexistent/libgtk-3.so.0 MARL_GRAPHICS_WAIT=1 \
  timeout 30 "$marl" draw.mr >stdout 2>stderr)
status=$?
[ "$status" = 0 ] || fail "status $status (a window was waited for, or the run failed)"
[ "$(cat "$work/stdout")" = "true" ] || fail "output: $(cat "$work/stdout")"
xdotool search --name "MARL graphics" >/dev/null 2>&1 && fail "a window opened"
echo "PASS"
