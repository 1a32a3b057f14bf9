#!/usr/bin/env bash
# Installs what is missing, builds the release and the sanitizer variants and runs every test.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/build.sh" release "$root/build"
(cd "$root/build" && ctest --output-on-failure -j "$(nproc)")
"$root/tools/build.sh" asan "$root/build-asan"
(cd "$root/build-asan" && ASAN_OPTIONS=detect_leaks=1 MARL_GOLDEN_TIMEOUT=300 ctest --output-on-failure -j "$(nproc)" -LE nosan)
# A short, bounded run of every fuzz target on its seed corpus.
"$root/tests/fuzz/run_fuzz.sh" "$root/build-fuzz" 15
