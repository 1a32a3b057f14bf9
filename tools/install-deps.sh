#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, only those missing.
set -euo pipefail
pkgs=(cmake g++ make ninja-build flex bison libgtest-dev libgmock-dev libonig-dev
      libedit-dev pkg-config clang libclang-rt-14-dev clang-format-14 python3
      libffi-dev libmono-2.0-dev mono-runtime mono-mcs
      libgtk-3-dev fonts-dejavu-core xvfb xdotool imagemagick)
[ "${1:-}" = "--bench" ] && pkgs+=(libbenchmark-dev lua5.4 perl python3 hyperfine time valgrind)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -qq
  $sudo_cmd apt-get install -y -qq "${missing[@]}" >/dev/null
fi
