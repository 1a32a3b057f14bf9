local t = 0
for i = 0, 299 do
  for j = 0, 999 do
    t = (t * 31 + i * j + j % 13) % 1000003
  end
end
print(t)
