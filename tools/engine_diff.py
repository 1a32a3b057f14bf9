#!/usr/bin/env python3
"""Differential check of the evaluator against another build of marl.

Generates small random programs (arithmetic on numbers, strings, booleans,
null and arrays; element and hash reads; conditions with && and ||; loops,
blocks, calls, try/catch) and runs each with both interpreters; any
difference in output or exit status is kept. Object addresses in
"<type:xxxxxxxx>" are masked, and output is cut at 200 KB (a program may loop).

Usage: tools/engine_diff.py REFERENCE_MARL NEW_MARL [COUNT] [FIRST_SEED]
Differing programs go to ./engine-diff-SEED.mr.
"""
import random
import re
import subprocess
import sys

def generate(seed):
    r = random.Random(seed)
    VARS = ['a', 'b', 'c', 'd', 'e']
    VALS = ['0', '1', '2', '-3', '0.5', '7', '13', 'true', 'false', '"4"', '"x"', 'null', '[1, 2]', '1e300', '-0']
    OPS = ['+', '-', '*', '/', '%', '\\', '**']
    CMPS = ['<', '<=', '>', '>=', '==', '!=']
    def leaf():
        k = r.random()
        if k < 0.45: return r.choice(VARS)
        if k < 0.6: return 'arr[%s]' % r.choice(['0', '1', '2', 'i', 'j', '5', '-1', 'a'])
        if k < 0.7: return 'h["%s"]' % r.choice(['p', 'q', 'zz'])
        return r.choice(['0', '1', '2', '3', '0.25', '-1', '100', '2.5'])
    def expr(d):
        if d <= 0 or r.random() < 0.25: return leaf()
        k = r.random()
        if k < 0.08: return '-(%s)' % expr(d - 1)
        if k < 0.12: return 'f(%s)' % expr(d - 1)
        return '(%s %s %s)' % (expr(d - 1), r.choice(OPS), expr(d - 1))
    def cond(d):
        k = r.random()
        if k < 0.2: return '%s && %s' % (cond(d - 1) if d > 0 else expr(1), expr(2))
        if k < 0.3: return '%s || %s' % (cond(d - 1) if d > 0 else expr(1), expr(2))
        return '%s %s %s' % (expr(2), r.choice(CMPS), expr(2))
    def stmt(d):
        k = r.random()
        v = r.choice(VARS)
        if k < 0.3: return '%s = %s;' % (v, expr(3))
        if k < 0.4: return '%s %s= %s;' % (v, r.choice(['+', '-', '*']), expr(2))
        if k < 0.42: return 'arr[%s] = %s;' % (r.choice(['0', '1', 'i', 'j']), expr(2))
        if k < 0.45: return '%s %s= %s;' % (r.choice(['arr[0]', 'arr[j]', 'arr[7]', 'h["p"]', 'h["zz"]']),
                                            r.choice(OPS), expr(2))
        if k < 0.5: return '%s++;' % v
        if k < 0.55 and d > 0: return '{ %s %s }' % (stmt(d - 1), stmt(d - 1))
        if k < 0.65 and d > 0: return 'if (%s) %s else %s' % (cond(1), stmt(d - 1), stmt(d - 1))
        if k < 0.7 and d > 0: return 'for (j = 0; j < 3; j++) { %s }' % stmt(d - 1)
        if k < 0.75 and d > 0: return 'for (j = 0; j < 3; j++) { var t = %s; %s }' % (expr(2), stmt(d - 1))
        if k < 0.8 and d > 0: return 'while (%s && n++ < 4) %s' % (cond(0), stmt(d - 1))
        if k < 0.85: return 'print(%s);' % expr(3)
        if k < 0.9: return 'var %s = %s;' % (v, expr(2))
        return 'out += "" + (%s) + ";";' % expr(3)
    lines = ['function f(x) { return x * 2 + 1; }', 'out = ""; n = 0;']
    for v in VARS: lines.append('%s = %s;' % (v, r.choice(VALS)))
    lines.append('arr = [%s, %s, %s]; h = hash("p" = %s, "q" = %s);' % tuple(r.choice(VALS) for _ in range(5)))
    body = []
    for _ in range(r.randint(3, 8)): body.append(stmt(2))
    lines.append('function run(i) {')
    lines += ['  try { %s } catch (e) { print(e); }' % s for s in body]
    lines.append('}')
    lines.append('for (i = 0; i < 3; i++) run(i);')
    lines += ['try { %s } catch (e) { print(e); }' % s for s in body]
    lines.append('print(out, " ", a, " ", b, " ", c, " ", d, " ", e);')
    lines.append('exit(0);')
    return '\n'.join(lines) + '\n'



ADDRESS = re.compile(rb"<([a-z]+):[0-9a-f]{8}>")


def run(marl, path):
    try:
        p = subprocess.run([marl, path], capture_output=True, timeout=2)
        out, status = p.stdout + p.stderr, p.returncode
    except subprocess.TimeoutExpired as e:
        out, status = (e.stdout or b"") + (e.stderr or b""), "timeout"
    return ADDRESS.sub(rb"<\1:X>", out[:200000]), status


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    ref, new = sys.argv[1], sys.argv[2]
    count = int(sys.argv[3]) if len(sys.argv) > 3 else 500
    first = int(sys.argv[4]) if len(sys.argv) > 4 else 1
    differing = 0
    for seed in range(first, first + count):
        path = "engine-diff-%d.mr" % seed
        with open(path, "w") as f:
            f.write(generate(seed))
        a, b = run(ref, path), run(new, path)
        # A program that loops prints as far as each got: compare the common part.
        if a[1] == "timeout" or b[1] == "timeout":
            n = min(len(a[0]), len(b[0]))
            same = a[0][:n] == b[0][:n]
        else:
            same = a == b
        if same:
            import os
            os.remove(path)
        else:
            differing += 1
            print("differs:", path)
    print("%d of %d programs differ" % (differing, count))
    sys.exit(1 if differing else 0)


if __name__ == "__main__":
    main()
