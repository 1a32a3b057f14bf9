#!/usr/bin/env bash
# Installs what is missing, builds the release and the sanitizer variants and runs every test.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/install-deps.sh"
# Layout is settled by .clang-format; a file that differs fails the run early.
"$root/tools/format.sh" --check
"$root/tools/build.sh" release "$root/build"
# A test that fails is run once more: the terminal tests still race the line
# editor now and then on a loaded machine (a failure twice in a row is real).
(cd "$root/build" && ctest --output-on-failure -j "$(nproc)" --repeat until-pass:2)
"$root/tools/build.sh" asan "$root/build-asan"
(cd "$root/build-asan" && ASAN_OPTIONS=detect_leaks=1 MARL_GOLDEN_TIMEOUT=300 ctest --output-on-failure -j "$(nproc)" -LE nosan --repeat until-pass:2)
# A short, bounded run of every fuzz target on its seed corpus.
"$root/tests/fuzz/run_fuzz.sh" "$root/build-fuzz" 15
