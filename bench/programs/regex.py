# Regular-expression substitutions over every line of the text on standard input.
import re
import sys


def main():
    pairs = re.compile(r"(\w+) (\w+)")
    vowels = re.compile(r"[aeiou]+")
    kays = re.compile(r"k(\w)")
    total = lines = 0
    first = last = ""
    for line in sys.stdin:
        line = pairs.sub(r"\2 \1", line)
        line = kays.sub(r"K\1", line)
        line = vowels.sub(r"<\g<0>>", line)
        total += len(line)
        if lines == 0:
            first = line
        last = line
        lines += 1
    sys.stdout.write("%d lines, %d bytes\n%s%s" % (lines, total, first, last))


main()
