-- Word frequencies of the text on standard input, most frequent first.
local function byfrequency(a, b)
  if a[2] ~= b[2] then return a[2] > b[2] end
  return a[1] < b[1]
end

local counts = {}
local words = 0
for line in io.lines() do
  for w in string.gmatch(line, "%S+") do
    words = words + 1
    local c = counts[w]
    if c then counts[w] = c + 1 else counts[w] = 1 end
  end
end
local pairs_ = {}
for w, c in pairs(counts) do pairs_[#pairs_ + 1] = {w, c} end
table.sort(pairs_, byfrequency)
for i = 1, math.min(10, #pairs_) do
  io.write(string.format("%7d %s\n", pairs_[i][2], pairs_[i][1]))
end
io.write(string.format("%d words, %d distinct, the rarest %s\n", words, #pairs_, pairs_[#pairs_][1]))
