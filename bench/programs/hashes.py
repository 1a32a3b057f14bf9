# A hash with string keys: insertions, updates of existing keys, then lookups.
import sys


def main():
    n = int(sys.argv[1]) if len(sys.argv) > 1 else 500000
    h = {}
    x = 42
    keyspace = n // 2
    for i in range(n):
        x = x * 16807 % 2147483647
        k = "key" + str(x % keyspace)
        if k in h:
            h[k] += i % 7
        else:
            h[k] = 1
    hits = total = 0
    for i in range(n):
        k = "key" + str(i)
        if k in h:
            hits += 1
            total += h[k]
    print("%d keys, %d hits, sum %d" % (len(h), hits, total))


main()
