n = 400000
flags = [0] * (n + 1)
for i in range(2, n + 1):
    flags[i] = 1
i = 2
while i * i <= n:
    if flags[i]:
        for j in range(i * i, n + 1, i):
            flags[j] = 0
    i += 1
c = 0
for i in range(2, n + 1):
    if flags[i]:
        c += 1
print(c)
