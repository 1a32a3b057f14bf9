local sum = 0
for i = 0, 999 do
  for j = 0, 2999 do
    sum = sum + i * j % 7
  end
end
print(sum)
