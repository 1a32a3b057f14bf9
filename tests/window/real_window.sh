#!/usr/bin/env bash
# The window on a virtual X server: the picture a script draws appears in it
# (checked on a screenshot), the pop-up menu's "Save as..." writes a 24-bit BMP
# file that is read back, and the script, which ended while its window was
# shown, finishes when the window is closed. Usage: real_window.sh MARL
set -u
marl=$1
here=$(cd "$(dirname "$0")" && pwd)
source "$here/xvfb_session.sh"
require_tools Xvfb xdotool import convert
start_xvfb

cp "$here/picture.mr" "$work/"
(cd "$work" && MARL_GRAPHICS_WAIT=1 exec "$marl" picture.mr >stdout 2>stderr) &
marl_pid=$!

# The title changes once the script has ended and waits for the window.
wait_for 30 xdotool search --name "MARL graphics - finished" || fail "no finished window"
wid=$(xdotool search --name "MARL graphics - finished" | head -1)
geometry=$(xdotool getwindowgeometry "$wid" | sed -n 's/.*Geometry: //p')
[ "$geometry" = "200x100" ] || fail "window is $geometry, expected 200x100"

# The window shows the picture.
sleep 0.5
timeout 20 import -window "$wid" "$work/shot.png" || fail "no screenshot"
expect_pixel "$work/shot.png" 10 90 "255,0,0"
expect_pixel "$work/shot.png" 190 10 "0,0,255"
expect_pixel "$work/shot.png" 100 50 "0,255,0"
white=$(convert "$work/shot.png" -crop 60x30+0+0 -fill black +opaque white -format "%[fx:int(mean*w*h+0.5)]" info:)
[ "$white" -gt 10 ] || fail "no text in the window ($white white pixels)"

# Right button, second item: "Save as..."; type the file name into the dialog.
xdotool mousemove --window "$wid" 150 50 click 3
wait_for 10 xdotool search --onlyvisible --name "^marl$" || fail "no pop-up menu"
sleep 0.3
xdotool key Down Down Return
wait_for 15 xdotool search --onlyvisible --name "Save as" || fail "no file dialog"
dialog=$(xdotool search --onlyvisible --name "Save as" | head -1)
sleep 0.5
xdotool windowfocus --sync "$dialog"
xdotool key ctrl+a
xdotool type --delay 10 "$work/saved.bmp"
sleep 0.3
xdotool key Return
wait_for 15 test -s "$work/saved.bmp" || fail "Save as... wrote no file"
wait_for 10 bash -c "! xdotool search --onlyvisible --name 'Save as'" || fail "dialog still open"

# A 24-bit bottom-up BMP of the picture.
header=$(od -A n -t u1 -j 0 -N 2 "$work/saved.bmp" | tr -s ' ')
[ "$header" = " 66 77" ] || fail "not a BMP file:$header"
bits=$(od -A n -t u2 -j 28 -N 2 "$work/saved.bmp" | tr -d ' ')
[ "$bits" = 24 ] || fail "BMP has $bits bits per pixel"
height=$(od -A n -t d4 -j 22 -N 4 "$work/saved.bmp" | tr -d ' ')
[ "$height" = 100 ] || fail "BMP height field is $height, expected 100 (bottom-up)"
expect_pixel "$work/saved.bmp" 10 90 "255,0,0"
expect_pixel "$work/saved.bmp" 190 10 "0,0,255"
expect_pixel "$work/saved.bmp" 100 50 "0,255,0"

# Closing the window lets marl finish, with the script's output and status.
xdotool windowfocus --sync "$wid"
xdotool key Escape
wait_for 15 bash -c "! kill -0 $marl_pid" || fail "marl still running after the window closed"
wait "$marl_pid"
status=$?
marl_pid=""
[ "$status" = 3 ] || fail "marl ended with status $status"
[ "$(cat "$work/stdout")" = "drawn 200x100" ] || fail "stdout: $(cat "$work/stdout")"

# Run by another program (no terminal on standard input), marl does not wait
# for the user: the same script ends by itself with its status.
(cd "$work" && exec "$marl" picture.mr </dev/null >stdout 2>stderr) &
marl_pid=$!
wait_for 30 bash -c "! kill -0 $marl_pid" || fail "marl waited for the window without a terminal"
wait "$marl_pid"
status=$?
marl_pid=""
[ "$status" = 3 ] || fail "marl without a terminal ended with status $status"
echo "window test passed"
