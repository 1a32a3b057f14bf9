local function mandel(w, h, iters)
  local count = 0
  for y = 0, h - 1 do
    for x = 0, w - 1 do
      local cr = 2.0 * x / w - 1.5
      local ci = 2.0 * y / h - 1.0
      local zr, zi, k = 0.0, 0.0, 0
      while k < iters and zr * zr + zi * zi <= 4.0 do
        local t = zr * zr - zi * zi + cr
        zi = 2.0 * zr * zi + ci
        zr = t
        k = k + 1
      end
      if k == iters then count = count + 1 end
    end
  end
  return count
end
print(mandel(80, 60, 50))
