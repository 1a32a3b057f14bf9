#!/usr/bin/env bash
# Runs the golden script suite with every marl process under valgrind memcheck
# and fails on any invalid access, use of uninitialised memory or definite leak.
# Not part of the regular test run (it takes long); run it by hand or in CI jobs
# that have the time. Usage: tools/valgrind-golden.sh [BUILD_DIR] [GROUP...]
# The limits group is left out by default: address-space limits and valgrind
# do not mix.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
shift $(($# > 0 ? 1 : 0))
command -v valgrind >/dev/null || { echo "valgrind-golden.sh: valgrind is not installed" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/logs"
# The golden runner starts "marl": this stand-in runs the real one under memcheck,
# with the report in a file named after the command line, so that the compared
# output stays as it is.
cat >"$work/marl" <<WRAP
#!/usr/bin/env bash
name=\$(printf '%s' "\$*" | tr -c 'A-Za-z0-9._-' '_' | cut -c1-60)
exec valgrind --tool=memcheck -q --leak-check=full --show-leak-kinds=definite \\
  --errors-for-leak-kinds=definite --track-origins=no \\
  --log-file="$work/logs/%p-\$name.log" "$build/bin/marl" "\$@"
WRAP
# The driver's start-up and usage tests look at where marl lives (they copy
# the library beside it, print its path): the stand-in is not there.
export MARL_GOLDEN_SKIP="startup usage"
# Scripts run some thirty times slower: a killed one would report false leaks.
export MARL_GOLDEN_TIMEOUT=${MARL_GOLDEN_TIMEOUT:-600}
chmod +x "$work/marl"

groups=("$@")
if [ ${#groups[@]} -eq 0 ]; then
  for g in "$root"/tests/scripts/*/; do
    name=$(basename "$g")
    [ "$name" = limits ] || groups+=("$name")
  done
fi

status=0
for name in "${groups[@]}"; do
  echo "== $name"
  "$root/tests/run_golden.sh" "$work/marl" "$root/tests/scripts/$name" | tail -1 || status=1
done

reports=0
for log in "$work"/logs/*.log; do
  [ -s "$log" ] || continue
  reports=$((reports + 1))
  echo "--- memcheck report ($log):"
  head -40 "$log"
done
echo "valgrind-golden.sh: $reports process(es) with memcheck reports"
[ $reports -eq 0 ] || status=1
exit $status
