#!/usr/bin/env bash
# Configures and builds one variant. Usage: tools/build.sh [release|asan] [build-dir]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/install-deps.sh"
variant=${1:-release}
dir=${2:-$root/build}
[ "$variant" = asan ] && dir=${2:-$root/build-asan}
args=(-G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMARL_WERROR=ON)
[ "$variant" = asan ] && args=(-G Ninja -DCMAKE_BUILD_TYPE=Debug -DMARL_SANITIZE=ON -DMARL_WERROR=ON)
cmake -S "$root" -B "$dir" "${args[@]}" >/dev/null
cmake --build "$dir" -j "$(nproc)"
