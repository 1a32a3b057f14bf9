s = ""
for i in range(20000):
    s += "ab"
    s += str(i % 10)
print(len(s))
