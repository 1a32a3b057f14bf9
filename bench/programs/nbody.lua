-- Floating-point simulation of five planets; each body is {x, y, z, vx, vy, vz, mass}.
local sqrt = math.sqrt

local function planets()
  local pi = 3.141592653589793
  local solar = 4 * pi * pi
  local year = 365.24
  return {
    {0, 0, 0, 0, 0, 0, solar},
    {4.84143144246472090e+00, -1.16032004402742839e+00, -1.03622044471123109e-01,
     1.66007664274403694e-03 * year, 7.69901118419740425e-03 * year,
     -6.90460016972063023e-05 * year, 9.54791938424326609e-04 * solar},
    {8.34336671824457987e+00, 4.12479856412430479e+00, -4.03523417114321381e-01,
     -2.76742510726862411e-03 * year, 4.99852801234917238e-03 * year,
     2.30417297573763929e-05 * year, 2.85885980666130812e-04 * solar},
    {1.28943695621391310e+01, -1.51111514016986312e+01, -2.23307578892655734e-01,
     2.96460137564761618e-03 * year, 2.37847173959480950e-03 * year,
     -2.96589568540237556e-05 * year, 4.36624404335156298e-05 * solar},
    {1.53796971148509165e+01, -2.59193146099879641e+01, 1.79258772950371181e-01,
     2.68067772490389322e-03 * year, 1.62824170038242295e-03 * year,
     -9.51592254519715870e-05 * year, 5.15138902046611451e-05 * solar},
  }
end

local function offset_momentum(bodies)
  local px, py, pz = 0.0, 0.0, 0.0
  for _, b in ipairs(bodies) do
    px = px + b[4] * b[7]
    py = py + b[5] * b[7]
    pz = pz + b[6] * b[7]
  end
  local sun = bodies[1]
  sun[4] = -px / sun[7]
  sun[5] = -py / sun[7]
  sun[6] = -pz / sun[7]
end

local function energy(bodies)
  local e = 0.0
  local n = #bodies
  for i = 1, n do
    local b = bodies[i]
    e = e + 0.5 * b[7] * (b[4] * b[4] + b[5] * b[5] + b[6] * b[6])
    for j = i + 1, n do
      local c = bodies[j]
      local dx, dy, dz = b[1] - c[1], b[2] - c[2], b[3] - c[3]
      e = e - b[7] * c[7] / sqrt(dx * dx + dy * dy + dz * dz)
    end
  end
  return e
end

local function advance(bodies, dt, steps)
  local n = #bodies
  for _ = 1, steps do
    for i = 1, n do
      local b = bodies[i]
      for j = i + 1, n do
        local c = bodies[j]
        local dx, dy, dz = b[1] - c[1], b[2] - c[2], b[3] - c[3]
        local d2 = dx * dx + dy * dy + dz * dz
        local mag = dt / (d2 * sqrt(d2))
        local bm, cm = b[7] * mag, c[7] * mag
        b[4] = b[4] - dx * cm
        b[5] = b[5] - dy * cm
        b[6] = b[6] - dz * cm
        c[4] = c[4] + dx * bm
        c[5] = c[5] + dy * bm
        c[6] = c[6] + dz * bm
      end
    end
    for _, b in ipairs(bodies) do
      b[1] = b[1] + dt * b[4]
      b[2] = b[2] + dt * b[5]
      b[3] = b[3] + dt * b[6]
    end
  end
end

local steps = tonumber(arg[1]) or 150000
local bodies = planets()
offset_momentum(bodies)
io.write(string.format("%.9f\n", energy(bodies)))
advance(bodies, 0.01, steps)
io.write(string.format("%.9f\n", energy(bodies)))
