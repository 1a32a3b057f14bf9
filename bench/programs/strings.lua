-- String building by appending, then searching the result.
local function build(n)
  local s = ""
  for i = 0, n - 1 do s = s .. "item" .. i .. ";" end
  return s
end

local function occurrences(s, t)
  local c = 0
  local pos = string.find(s, t, 1, true)
  while pos do
    c = c + 1
    pos = string.find(s, t, pos + 1, true)
  end
  return c
end

local rounds = tonumber(arg[1]) or 1500
local total, found, where = 0, 0, 0
for r = 0, rounds - 1 do
  local s = build(2000 + r % 10)
  total = total + #s
  found = found + occurrences(s, "7;")
  where = where + string.find(s, "item" .. (r * 37 % 2000) .. ";", 1, true) - 1
end
io.write(string.format("%d rounds: %d bytes, %d hits, positions %d\n", rounds, total, found, where))
