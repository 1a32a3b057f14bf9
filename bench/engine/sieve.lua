local n = 400000
local flags = {}
for i = 0, n do flags[i] = 0 end
for i = 2, n do flags[i] = 1 end
local i = 2
while i * i <= n do
  if flags[i] == 1 then
    for j = i * i, n, i do flags[j] = 0 end
  end
  i = i + 1
end
local c = 0
for i = 2, n do if flags[i] == 1 then c = c + 1 end end
print(c)
