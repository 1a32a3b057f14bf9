local c, n = {}, 0
for line in io.lines() do for w in line:gmatch("%S+") do if not c[w] then n = n + 1; c[w] = 0 end c[w] = c[w] + 1 end end
print(n)
