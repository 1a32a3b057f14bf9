# Integer arithmetic in two nested counted loops.
import sys


def loops(n):
    t = 0
    for i in range(n):
        for j in range(n):
            t = (t * 31 + i * j + j % 13) % 1000003
    return t


def main():
    n = int(sys.argv[1]) if len(sys.argv) > 1 else 2500
    print("loops(%d) = %d" % (n, loops(n)))


main()
