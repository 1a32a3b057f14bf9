#!/usr/bin/env bash
# Times each engine program in MARL, python3, perl and lua5.4 (hyperfine medians)
# and prints MARL's ratio to each with the geometric means.
# Usage: compare.sh MARL [RUNS]
set -eu
marl=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
runs=${2:-5}
python=${PYTHON:-/usr/bin/python3}
dir=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cd "$dir"
for p in *.mr; do
  n=${p%.mr}
  hyperfine -N -w 1 -r "$runs" --export-json "$tmp/$n.json" \
    -n marl "$marl $n.mr" -n python3 "$python $n.py" -n perl "perl $n.pl" \
    -n lua "lua5.4 $n.lua" >/dev/null 2>&1
done
python3 - "$tmp" <<'PY'
import json, math, os, sys
tmp = sys.argv[1]
langs = ["python3", "perl", "lua"]
ratios = {l: [] for l in langs}
print("%-9s %8s %8s %8s %8s   %s" % ("program", "marl", "python3", "perl", "lua", "marl/py marl/pl marl/lua"))
for f in sorted(os.listdir(tmp)):
    res = {r["command"]: r["median"] for r in json.load(open(os.path.join(tmp, f)))["results"]}
    row = [res[l] / res["marl"] for l in langs]
    for l in langs:
        ratios[l].append(res["marl"] / res[l])
    print("%-9s %8.3f %8.3f %8.3f %8.3f   %7.2f %7.2f %7.2f" % (
        f[:-5], res["marl"], res["python3"], res["perl"], res["lua"],
        res["marl"] / res["python3"], res["marl"] / res["perl"], res["marl"] / res["lua"]))
geo = [math.exp(sum(map(math.log, ratios[l])) / len(ratios[l])) for l in langs]
print("geometric mean MARL/python3 %.2f  MARL/perl %.2f  MARL/lua5.4 %.2f" % tuple(geo))
PY
