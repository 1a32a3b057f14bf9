# Binary records: pack each into bytes, then unpack them all and add up the fields.
import struct
import sys


def main():
    n = int(sys.argv[1]) if len(sys.argv) > 1 else 1000000
    layout = struct.Struct("<Idd4B")
    records = [None] * n
    for i in range(n):
        records[i] = layout.pack(i, i * 0.5, -i * 0.25, i % 256, i * 3 % 256, i * 7 % 256, 255)
    nbytes = ids = flags = 0
    xs = ys = 0.0
    for r in records:
        nbytes += len(r)
        v = layout.unpack(r)
        ids += v[0]
        xs += v[1]
        ys += v[2]
        flags += v[3] + v[4] + v[5] + v[6]
    print("%d records, %d bytes, ids %.0f, x %.2f, y %.2f, flags %d" % (n, nbytes, ids, xs, ys, flags))


main()
