-- Floating-point inner loop: escape times over a grid of the complex plane.
local function mandelbrot(size, limit)
  local inside, iterations = 0, 0
  for y = 0, size - 1 do
    local ci = 2.0 * y / size - 1.0
    for x = 0, size - 1 do
      local cr = 2.0 * x / size - 1.5
      local zr, zi, i = 0.0, 0.0, 0
      while i < limit and zr * zr + zi * zi <= 4.0 do
        local t = zr * zr - zi * zi + cr
        zi = 2.0 * zr * zi + ci
        zr = t
        i = i + 1
      end
      iterations = iterations + i
      if i == limit then inside = inside + 1 end
    end
  end
  return inside, iterations
end

local size = tonumber(arg[1]) or 400
local inside, iterations = mandelbrot(size, 50)
io.write(string.format("%dx%d: %d inside, %d iterations\n", size, size, inside, iterations))
