-- Sieve of Eratosthenes over an array of flags, repeated.
local function sieve(n)
  local flags = {}
  for i = 1, n do flags[i] = true end
  local count, last = 0, 0
  for i = 2, n do
    if flags[i] then
      count = count + 1
      last = i
      for j = i * i, n, i do flags[j] = false end
    end
  end
  return count, last
end

local n = tonumber(arg[1]) or 2000000
local count, last
for _ = 1, 3 do count, last = sieve(n) end
io.write(string.format("primes up to %d: %d, the last %d\n", n, count, last))
