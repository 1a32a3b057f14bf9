math.randomseed(1); local a = {} for i = 1, 1000000 do a[i] = math.random() end table.sort(a) print(a[1] <= a[2])
