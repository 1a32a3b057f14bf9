local o = io.open(arg[1], "w"); local n = 0
for line in io.lines() do o:write(line, "\n"); n = n + 1 end o:close() print(n)
