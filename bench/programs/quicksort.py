# Quicksort written in the script over an array of pseudo-random integers.
import sys


def quicksort(a, lo, hi):
    while lo < hi:
        p = a[(lo + hi) // 2]
        i, j = lo, hi
        while i <= j:
            while a[i] < p:
                i += 1
            while a[j] > p:
                j -= 1
            if i <= j:
                a[i], a[j] = a[j], a[i]
                i += 1
                j -= 1
        # Recurse into the smaller part and loop on the larger, so the depth stays logarithmic.
        if j - lo < hi - i:
            quicksort(a, lo, j)
            lo = i
        else:
            quicksort(a, i, hi)
            hi = j


def main():
    n = int(sys.argv[1]) if len(sys.argv) > 1 else 400000
    a = [0] * n
    x = 42
    for i in range(n):
        x = x * 16807 % 2147483647
        a[i] = x % 1000000
    quicksort(a, 0, n - 1)
    disorder = total = 0
    for i in range(n):
        if i > 0 and a[i - 1] > a[i]:
            disorder += 1
        total = (total * 31 + a[i]) % 1000000007
    print("%d sorted, %d out of order, checksum %d" % (n, disorder, total))


main()
