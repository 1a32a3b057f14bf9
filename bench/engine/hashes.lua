local h, keys = {}, {}
for i = 0, 199 do local k = "k" .. i; keys[i] = k; h[k] = 0 end
for r = 0, 99 do for i = 0, 199 do h[keys[i]] = h[keys[i]] + i end end
print(h["k7"] .. " " .. h["k199"])
