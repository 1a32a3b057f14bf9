import re, sys
s = sys.stdin.buffer.readline(); r = re.sub(rb"(\w+) (\w+)", rb"\2 \1", s); print(len(r))
