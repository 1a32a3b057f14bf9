s = 0
for i in range(1000):
    for j in range(3000):
        s += i * j % 7
print(s)
