local s = io.read("l") .. "\n"; local r = s:gsub("(%w+) (%w+)", "%2 %1"); print(#r)
