-- Integer arithmetic in two nested counted loops.
local function loops(n)
  local t = 0
  for i = 0, n - 1 do
    for j = 0, n - 1 do
      t = (t * 31 + i * j + j % 13) % 1000003
    end
  end
  return t
end

local n = tonumber(arg[1]) or 2500
io.write(string.format("loops(%d) = %d\n", n, loops(n)))
