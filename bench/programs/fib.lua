-- Function calls: the naive double recursion.
local function fib(n)
  if n < 2 then return n end
  return fib(n - 1) + fib(n - 2)
end

local n = tonumber(arg[1]) or 33
io.write(string.format("fib(%d) = %d\n", n, fib(n)))
