# Function calls: the naive double recursion.
import sys


def fib(n):
    if n < 2:
        return n
    return fib(n - 1) + fib(n - 2)


def main():
    n = int(sys.argv[1]) if len(sys.argv) > 1 else 33
    print("fib(%d) = %d" % (n, fib(n)))


main()
