local parts = {}
for i = 0, 19999 do parts[#parts + 1] = "ab"; parts[#parts + 1] = tostring(i % 10) end
print(#table.concat(parts))
