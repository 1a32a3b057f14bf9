import struct
s = struct.Struct("<Idd4B"); total = 0
for i in range(1000000):
    total += s.unpack(s.pack(i, 1.5, -2.25, 1, 2, 3, 4))[0]
print(total)
