# Copies a file line by line from one encoding to another: encodings.py IN IN_ENC OUT OUT_ENC
import sys
n = 0
with open(sys.argv[1], encoding=sys.argv[2], newline="") as f, \
     open(sys.argv[3], "w", encoding=sys.argv[4], newline="") as o:
    for line in f:
        o.write(line); n += 1
print(n)
