#!/usr/bin/env bash
# Builds the fuzz targets with clang (libFuzzer, ASan, UBSan) in a build
# directory of their own and runs each for a while on its seed corpus.
# Usage: tests/fuzz/run_fuzz.sh BUILD_DIR [SECONDS_PER_TARGET] [TARGET...]
# Targets are named without the _fuzz suffix (parse, eval, ...); all by default.
# Exits non-zero when a fuzzer finds a crash, a leak or a hang; the input is
# left in BUILD_DIR/artifacts/TARGET.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
dir=${1:?usage: run_fuzz.sh BUILD_DIR [SECONDS_PER_TARGET] [TARGET...]}
seconds=${2:-15}
shift $(($# >= 2 ? 2 : $#))
targets=("$@")
[ ${#targets[@]} -gt 0 ] ||
  targets=(parse preprocess eval deserial pack encoding format regex)
mkdir -p "$dir"
dir=$(cd "$dir" && pwd)

# Light optimisation and line tables only: the build has to fit in a test run.
cflags="-O1 -gline-tables-only -fsanitize=fuzzer-no-link"
log="$dir/build.log"
if ! { cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=None \
         -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DMARL_SANITIZE=ON \
         -DCMAKE_C_FLAGS="$cflags" -DCMAKE_CXX_FLAGS="$cflags" \
         -DCMAKE_PROJECT_marl_INCLUDE="$here/fuzz_targets.cmake" &&
       cmake --build "$dir" --target "${targets[@]/%/_fuzz}" -j "$(nproc)"; } >"$log" 2>&1; then
  tail -30 "$log"
  echo "run_fuzz.sh: the fuzz targets did not build (log: $log)" >&2
  exit 1
fi

failed=0
for name in "${targets[@]}"; do
  target=$(find "$dir" -type f -name "${name}_fuzz" -perm -u+x | head -1)
  # New inputs go to a corpus in the build directory; the seeds stay untouched.
  mkdir -p "$dir/corpus/$name" "$dir/artifacts/$name"
  out="$dir/$name.log"
  if "$target" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -close_fd_mask=3 \
       -artifact_prefix="$dir/artifacts/$name/" "$dir/corpus/$name" "$here/corpus/$name" \
       </dev/null >"$out" 2>&1; then
    echo "$name: $(grep -E '^Done [0-9]+ runs' "$out" || tail -1 "$out")"
  else
    grep -v -E '^#[0-9]+ +(NEW|REDUCE|pulse)|NEW_FUNC' "$out" | tail -60
    echo "run_fuzz.sh: the $name fuzz target failed; inputs in $dir/artifacts/$name" >&2
    failed=1
  fi
done
exit $failed
