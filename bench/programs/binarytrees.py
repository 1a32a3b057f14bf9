# Allocation: many short-lived binary trees of [left, right] arrays, and one long-lived.
import sys


def make(d):
    if d == 0:
        return [None, None]
    return [make(d - 1), make(d - 1)]


def check(t):
    if t[0] is None:
        return 1
    return 1 + check(t[0]) + check(t[1])


def main():
    maxdepth = int(sys.argv[1]) if len(sys.argv) > 1 else 14
    stretch = maxdepth + 1
    print("stretch tree of depth %d\t check: %d" % (stretch, check(make(stretch))))
    longlived = make(maxdepth)
    for d in range(4, maxdepth + 1, 2):
        iterations = 1
        for _ in range(maxdepth - d + 4):
            iterations *= 2
        total = 0
        for _ in range(iterations):
            total += check(make(d))
        print("%d\t trees of depth %d\t check: %d" % (iterations, d, total))
    print("long lived tree of depth %d\t check: %d" % (maxdepth, check(longlived)))


main()
