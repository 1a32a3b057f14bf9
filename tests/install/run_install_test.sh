#!/usr/bin/env bash
# Installs a build into a temporary prefix and unpacks the .deb into a temporary
# root, then runs the tour from each, as a user of the installed program would.
# Usage: run_install_test.sh BUILD_DIR
set -eu
build=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
expected="$here/../examples/tour.out"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

run_tour() {  # installed root (holding bin/, lib/, share/)
  local root=$1
  for f in bin/marl lib/libmarl.so share/man/man1/marl.1 share/doc/marl/examples/tour.mr \
           share/doc/marl/tutorial.md share/marl/editors/vim/syntax/marl.vim; do
    [ -e "$root/$f" ] || { echo "missing: $f"; return 1; }
  done
  # No help from the environment: the program must find its library by itself.
  env -u LD_LIBRARY_PATH "$root/bin/marl" "$root/share/doc/marl/examples/tour.mr" \
    -a "$scratch/work-$(basename "$root")" >"$scratch/tour.out" 2>&1
  diff "$expected" "$scratch/tour.out"
}

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
# A prefix moved elsewhere still works: the library is found relative to the program.
mv "$scratch/prefix" "$scratch/moved"
run_tour "$scratch/moved"
echo "installed prefix: ok"

(cd "$build" && cpack -G DEB -B "$scratch/pkg" >/dev/null)
deb=$(ls "$scratch"/pkg/*.deb)
# Every library the program loads is a declared dependency.
for lib in libonig libedit libffi libgtk-3; do dpkg-deb -f "$deb" Depends | grep -q "$lib"; done
dpkg-deb -x "$deb" "$scratch/root"
run_tour "$scratch/root/usr"
echo "package $(basename "$deb"): ok"
