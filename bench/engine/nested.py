t = 0
for i in range(300):
    for j in range(1000):
        t = (t * 31 + i * j + j % 13) % 1000003
print(t)
