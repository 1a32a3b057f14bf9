-- Spectral norm of an infinite matrix, by power iteration on arrays of floats.
local function a(i, j)
  return 1.0 / ((i + j) * (i + j + 1) / 2 + i + 1)
end

local function mul(v, out, n)
  for i = 0, n - 1 do
    local s = 0.0
    for j = 0, n - 1 do s = s + a(i, j) * v[j + 1] end
    out[i + 1] = s
  end
end

local function mul_transposed(v, out, n)
  for i = 0, n - 1 do
    local s = 0.0
    for j = 0, n - 1 do s = s + a(j, i) * v[j + 1] end
    out[i + 1] = s
  end
end

local function mul_both(v, out, tmp, n)
  mul(v, tmp, n)
  mul_transposed(tmp, out, n)
end

local n = tonumber(arg[1]) or 320
local u, v, tmp = {}, {}, {}
for i = 1, n do u[i], v[i], tmp[i] = 1.0, 0.0, 0.0 end
for _ = 1, 10 do
  mul_both(u, v, tmp, n)
  mul_both(v, u, tmp, n)
end
local vbv, vv = 0.0, 0.0
for i = 1, n do
  vbv = vbv + u[i] * v[i]
  vv = vv + v[i] * v[i]
end
io.write(string.format("%.9f\n", math.sqrt(vbv / vv)))
