# Sieve of Eratosthenes over an array of flags, repeated.
import sys


def sieve(n):
    flags = [True] * (n + 1)
    count = 0
    last = 0
    for i in range(2, n + 1):
        if flags[i]:
            count += 1
            last = i
            for j in range(i * i, n + 1, i):
                flags[j] = False
    return count, last


def main():
    n = int(sys.argv[1]) if len(sys.argv) > 1 else 2000000
    for _ in range(3):
        count, last = sieve(n)
    print("primes up to %d: %d, the last %d" % (n, count, last))


main()
