# Shared by the window tests (sourced): a virtual X server of their own, polling
# with time limits, and pixels of screenshots and picture files.

# Exits with the skip status when a tool is missing.
require_tools() {
  for tool in "$@"; do
    if ! command -v "$tool" >/dev/null; then
      echo "SKIP: $tool is not installed (the window tests need xvfb, xdotool and imagemagick)"
      exit 77
    fi
  done
}

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
  [ -f "$work/stderr" ] && grep -v dconf "$work/stderr" | sed 's/^/  marl stderr: /' | head -20
  exit 1
}

# Polls a command every 0.1 s for at most $1 seconds.
wait_for() {
  local limit=$(($1 * 10)) i
  shift
  for ((i = 0; i < limit; i++)); do
    "$@" >/dev/null 2>&1 && return 0
    sleep 0.1
  done
  return 1
}

# Starts the server on a free display (it reports the number on a descriptor)
# and sets up the environment the window needs there.
start_xvfb() {
  Xvfb -displayfd 3 -screen 0 800x600x24 -nolisten tcp 3>"$work/display" 2>"$work/xvfb.log" &
  xvfb_pid=$!
  wait_for 15 test -s "$work/display" || fail "Xvfb did not start"
  export DISPLAY=:$(head -1 "$work/display")
  # No accessibility bus or settings daemon on the virtual server.
  export NO_AT_BRIDGE=1 GSETTINGS_BACKEND=memory
  # The toolkit's own allocations at exit are not ours to free; memory errors
  # are still reported when this runs in the sanitizer build.
  export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"
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

# True when pixel (x, y) of a fresh screenshot of window $1 is "R,G,B" $4.
window_shows() {
  timeout 20 import -window "$1" "$work/shot.png" && [ "$(pixel "$work/shot.png" "$2" "$3")" = "$4" ]
}
