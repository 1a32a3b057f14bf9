-- A hash with string keys: insertions, updates of existing keys, then lookups.
local n = tonumber(arg[1]) or 500000
local h, size = {}, 0
local x = 42
local keyspace = n // 2
for i = 0, n - 1 do
  x = x * 16807 % 2147483647
  local k = "key" .. x % keyspace
  local v = h[k]
  if v then h[k] = v + i % 7 else h[k] = 1; size = size + 1 end
end
local hits, sum = 0, 0
for i = 0, n - 1 do
  local v = h["key" .. i]
  if v then
    hits = hits + 1
    sum = sum + v
  end
end
io.write(string.format("%d keys, %d hits, sum %d\n", size, hits, sum))
