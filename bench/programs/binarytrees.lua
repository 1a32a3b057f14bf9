-- Allocation: many short-lived binary trees of {left, right} arrays, and one long-lived.
local function make(d)
  if d == 0 then return {false, false} end
  return {make(d - 1), make(d - 1)}
end

local function check(t)
  if not t[1] then return 1 end
  return 1 + check(t[1]) + check(t[2])
end

local maxdepth = tonumber(arg[1]) or 14
local stretch = maxdepth + 1
io.write(string.format("stretch tree of depth %d\t check: %d\n", stretch, check(make(stretch))))
local longlived = make(maxdepth)
for d = 4, maxdepth, 2 do
  local iterations = 1
  for _ = 1, maxdepth - d + 4 do iterations = iterations * 2 end
  local sum = 0
  for _ = 1, iterations do sum = sum + check(make(d)) end
  io.write(string.format("%d\t trees of depth %d\t check: %d\n", iterations, d, sum))
end
io.write(string.format("long lived tree of depth %d\t check: %d\n", maxdepth, check(longlived)))
