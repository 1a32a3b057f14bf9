" MARL scripts: *.mr, and files whose first line runs marl.
autocmd BufRead,BufNewFile *.mr setfiletype marl
autocmd BufRead,BufNewFile * if getline(1) =~# '^#!.*\<marl\>' | setfiletype marl | endif
