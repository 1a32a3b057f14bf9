-- Quicksort written in the script over an array of pseudo-random integers.
local function quicksort(a, lo, hi)
  while lo < hi do
    local p = a[(lo + hi) // 2]
    local i, j = lo, hi
    while i <= j do
      while a[i] < p do i = i + 1 end
      while a[j] > p do j = j - 1 end
      if i <= j then
        a[i], a[j] = a[j], a[i]
        i = i + 1
        j = j - 1
      end
    end
    -- Recurse into the smaller part and loop on the larger, so the depth stays logarithmic.
    if j - lo < hi - i then
      quicksort(a, lo, j)
      lo = i
    else
      quicksort(a, i, hi)
      hi = j
    end
  end
end

local n = tonumber(arg[1]) or 400000
local a = {}
local x = 42
for i = 1, n do
  x = x * 16807 % 2147483647
  a[i] = x % 1000000
end
quicksort(a, 1, n)
local disorder, sum = 0, 0
for i = 1, n do
  if i > 1 and a[i - 1] > a[i] then disorder = disorder + 1 end
  sum = (sum * 31 + a[i]) % 1000000007
end
io.write(string.format("%d sorted, %d out of order, checksum %d\n", n, disorder, sum))
