# String building by appending, then searching the result.
import sys


def build(n):
    s = ""
    for i in range(n):
        s += "item" + str(i) + ";"
    return s


def occurrences(s, t):
    c = 0
    pos = s.find(t)
    while pos >= 0:
        c += 1
        pos = s.find(t, pos + 1)
    return c


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 1500
    total = found = where = 0
    for r in range(rounds):
        s = build(2000 + r % 10)
        total += len(s)
        found += occurrences(s, "7;")
        where += s.find("item" + str(r * 37 % 2000) + ";")
    print("%d rounds: %d bytes, %d hits, positions %d" % (rounds, total, found, where))


main()
