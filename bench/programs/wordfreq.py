# Word frequencies of the text on standard input, most frequent first.
import sys


def main():
    counts = {}
    words = 0
    for line in sys.stdin:
        for w in line.split():
            words += 1
            if w in counts:
                counts[w] += 1
            else:
                counts[w] = 1
    pairs = sorted(counts.items(), key=lambda p: (-p[1], p[0]))
    for w, c in pairs[:10]:
        print("%7d %s" % (c, w))
    print("%d words, %d distinct, the rarest %s" % (words, len(pairs), pairs[-1][0]))


main()
