#!/usr/bin/env bash
# The interpreter library must not depend on the window toolkit or any library
# it brings in: they are opened on first use, and loading them at every start
# costs more than the rest of start-up. Usage: toolkit_not_linked.sh LIBMARL
set -u
lib=$1
needed=$(readelf -d "$lib" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
[ -n "$needed" ] || { echo "FAIL: no NEEDED entries read from $lib"; exit 1; }
status=0
for flag in $(pkg-config --libs-only-l gtk+-3.0); do
  name=lib${flag#-l}.so
  if grep -q "^${name//./\\.}\(\.\|\$\)" <<<"$needed"; then
    echo "FAIL: $lib needs $(grep "^$name" <<<"$needed" | head -1)"
    status=1
  fi
done
[ "$status" = 0 ] && echo "PASS"
exit $status
