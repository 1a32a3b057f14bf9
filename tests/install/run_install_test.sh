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
# Every library libmarl.so links is a declared dependency (the package that holds it here);
# the toolkits opened on demand are only recommended.
depends=$(dpkg-deb -f "$deb" Depends)
recommends=$(dpkg-deb -f "$deb" Recommends)
for soname in $(readelf -d "$build/bin/libmarl.so" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p'); do
  path=$(ldconfig -p | awk -v so="$soname" '$1 == so && /x86-64/ { print $NF; exit }')
  pkg=$(dpkg -S "$(readlink -f "$path")" 2>/dev/null | head -1 | cut -d: -f1)
  [ -n "$pkg" ] || pkg=$(dpkg -S "$path" | head -1 | cut -d: -f1)
  [ -n "$pkg" ] || { echo "no installed package holds $soname"; exit 1; }
  echo "$depends" | grep -qw -- "$pkg" || { echo "$soname ($pkg) is not in Depends: $depends"; exit 1; }
done
for lib in gtk mono; do
  if echo "$depends" | grep -qi "$lib"; then echo "Depends holds $lib: $depends"; exit 1; fi
done
echo "$recommends" | grep -q libgtk-3-0 || { echo "libgtk-3-0 is not recommended: $recommends"; exit 1; }
dpkg-deb -x "$deb" "$scratch/root"
run_tour "$scratch/root/usr"
echo "package $(basename "$deb"): ok"
