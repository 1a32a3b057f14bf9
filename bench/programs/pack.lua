-- Binary records: pack each into bytes, then unpack them all and add up the fields.
local n = tonumber(arg[1]) or 1000000
local layout = "<I4ddBBBB"
local records = {}
for i = 0, n - 1 do
  records[i + 1] = string.pack(layout, i, i * 0.5, -i * 0.25, i % 256, i * 3 % 256, i * 7 % 256, 255)
end
local bytes, ids, xs, ys, flags = 0, 0, 0.0, 0.0, 0
for _, r in ipairs(records) do
  bytes = bytes + #r
  local id, x, y, f0, f1, f2, f3 = string.unpack(layout, r)
  ids = ids + id
  xs = xs + x
  ys = ys + y
  flags = flags + f0 + f1 + f2 + f3
end
io.write(string.format("%d records, %d bytes, ids %.0f, x %.2f, y %.2f, flags %d\n", n, bytes, ids,
                       xs, ys, flags))
