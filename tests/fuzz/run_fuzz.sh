#!/usr/bin/env bash
# Builds the parser fuzz target with clang (libFuzzer, ASan, UBSan) in a build
# directory of its own and runs it. Usage: tests/fuzz/run_fuzz.sh BUILD_DIR [SECONDS]
# Exits non-zero when the fuzzer finds a crash, a leak or a hang; the input is
# left in BUILD_DIR/artifacts.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
dir=${1:?usage: run_fuzz.sh BUILD_DIR [SECONDS]}
seconds=${2:-30}
mkdir -p "$dir"
dir=$(cd "$dir" && pwd)

# Light optimisation and line tables only: the build has to fit in a test run.
cflags="-O1 -gline-tables-only -fsanitize=fuzzer-no-link"
log="$dir/build.log"
if ! { cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=None \
         -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DMARL_SANITIZE=ON \
         -DCMAKE_C_FLAGS="$cflags" -DCMAKE_CXX_FLAGS="$cflags" \
         -DCMAKE_PROJECT_marl_INCLUDE="$here/fuzz_targets.cmake" &&
       cmake --build "$dir" --target parse_fuzz -j "$(nproc)"; } >"$log" 2>&1; then
  tail -30 "$log"
  echo "run_fuzz.sh: the fuzz target did not build (log: $log)" >&2
  exit 1
fi

target=$(find "$dir" -type f -name parse_fuzz -perm -u+x | head -1)
# New inputs go to a corpus in the build directory; the seeds stay untouched.
mkdir -p "$dir/corpus" "$dir/artifacts"
if "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -close_fd_mask=3 \
     -artifact_prefix="$dir/artifacts/" "$dir/corpus" "$here/corpus" >"$dir/fuzz.log" 2>&1; then
  grep -E '^Done [0-9]+ runs' "$dir/fuzz.log" || tail -1 "$dir/fuzz.log"
else
  grep -v -E '^#[0-9]+ +(NEW|REDUCE|pulse)|NEW_FUNC' "$dir/fuzz.log" | tail -60
  echo "run_fuzz.sh: the parser fuzz target failed; inputs in $dir/artifacts" >&2
  exit 1
fi
