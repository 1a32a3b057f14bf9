#!/usr/bin/env bash
# The window on a virtual X server: the picture a script draws appears in it
# (checked on a screenshot), the pop-up menu's "Save as..." writes a 24-bit BMP
# file that is read back, and the script, which ended while its window was
# shown, finishes when the window is closed. Usage: real_window.sh MARL
set -u
marl=$1
here=$(cd "$(dirname "$0")" && pwd)
for tool in Xvfb xdotool import convert; do
  if ! command -v "$tool" >/dev/null; then
    echo "SKIP: $tool is not installed (the window test needs xvfb, xdotool and imagemagick)"
    exit 77
  fi
done

work=$(mktemp -d)
xvfb_pid="" marl_pid=""
cleanup() {
  [ -n "$marl_pid" ] && kill "$marl_pid" 2>/dev/null
  [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT
fail() {
  echo "FAIL: $*"
  [ -f "$work/stderr" ] && sed 's/^/  marl stderr: /' "$work/stderr" | grep -v dconf | head -20
  exit 1
}
# Polls a command every 0.1 s for at most $1 seconds.
wait_for() {
  local limit=$(($1 * 10))
  shift
  for ((i = 0; i < limit; i++)); do
    "$@" >/dev/null 2>&1 && return 0
    sleep 0.1
  done
  return 1
}
# "R,G,B" of pixel (x, y) of an image file.
pixel() {
  convert "$1" -format "%[fx:int(255*p{$2,$3}.r+0.5)],%[fx:int(255*p{$2,$3}.g+0.5)],%[fx:int(255*p{$2,$3}.b+0.5)]" info:
}
expect_pixel() {
  local got
  got=$(pixel "$1" "$2" "$3")
  [ "$got" = "$4" ] || fail "$1 at ($2, $3) is $got, expected $4"
}

# The server picks a free display number and tells it on a file descriptor.
Xvfb -displayfd 3 -screen 0 800x600x24 -nolisten tcp 3>"$work/display" 2>"$work/xvfb.log" &
xvfb_pid=$!
wait_for 15 test -s "$work/display" || fail "Xvfb did not start"
export DISPLAY=:$(head -1 "$work/display")
# No accessibility bus or settings daemon on the virtual server.
export NO_AT_BRIDGE=1 GSETTINGS_BACKEND=memory
# The toolkit's own allocations at exit are not ours to free; memory errors are
# still reported when this runs in the sanitizer build.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"

cp "$here/picture.mr" "$work/"
(cd "$work" && exec "$marl" picture.mr >stdout 2>stderr) &
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
echo "window test passed"
