import sys
counts = {}
for line in sys.stdin.buffer:
    for w in line.split():
        counts[w] = counts.get(w, 0) + 1
print(len(counts))
