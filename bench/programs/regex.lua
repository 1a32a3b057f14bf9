-- Regular-expression substitutions over every line of the text on standard input.
local bytes, lines, first, last = 0, 0, "", ""
for line in io.stdin:lines("L") do
  line = string.gsub(line, "(%w+) (%w+)", "%2 %1")
  line = string.gsub(line, "k(%w)", "K%1")
  line = string.gsub(line, "[aeiou]+", "<%0>")
  bytes = bytes + #line
  if lines == 0 then first = line end
  last = line
  lines = lines + 1
end
io.write(string.format("%d lines, %d bytes\n%s%s", lines, bytes, first, last))
