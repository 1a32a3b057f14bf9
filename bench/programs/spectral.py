# Spectral norm of an infinite matrix, by power iteration on arrays of floats.
import sys
from math import sqrt


def a(i, j):
    return 1.0 / ((i + j) * (i + j + 1) / 2 + i + 1)


def mul(v, out, n):
    for i in range(n):
        s = 0.0
        for j in range(n):
            s += a(i, j) * v[j]
        out[i] = s


def mul_transposed(v, out, n):
    for i in range(n):
        s = 0.0
        for j in range(n):
            s += a(j, i) * v[j]
        out[i] = s


def mul_both(v, out, tmp, n):
    mul(v, tmp, n)
    mul_transposed(tmp, out, n)


def main():
    n = int(sys.argv[1]) if len(sys.argv) > 1 else 320
    u, v, tmp = [1.0] * n, [0.0] * n, [0.0] * n
    for _ in range(10):
        mul_both(u, v, tmp, n)
        mul_both(v, u, tmp, n)
    vbv = vv = 0.0
    for i in range(n):
        vbv += u[i] * v[i]
        vv += v[i] * v[i]
    print("%.9f" % sqrt(vbv / vv))


main()
