import sys
n = 0
with open(sys.argv[1], "wb") as out:
    for line in sys.stdin.buffer:
        out.write(line); n += 1
print(n)
