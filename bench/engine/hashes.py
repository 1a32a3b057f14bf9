h = {}
keys = []
for i in range(200):
    k = "k" + str(i); keys.append(k); h[k] = 0
for r in range(100):
    for i in range(200):
        h[keys[i]] += i
print(h["k7"], h["k199"])
