" Vim syntax file
" Language: MARL
" Filenames: *.mr

if exists("b:current_syntax")
  finish
endif

syn keyword marlKeyword var static extern function return break continue in
syn keyword marlConditional if elif else switch case default
syn keyword marlRepeat while do for foreach
syn keyword marlException try catch
syn keyword marlReserved class new
syn keyword marlBoolean true false
syn keyword marlNull null
syn match marlConstant "@\(pi\|e\|nan\|inf\|eps\|max\|min\)\>"
syn match marlConstant "\<__\(LINE\|FILE\)__\>"
syn match marlPredefined "\<\(stdin\|stdout\|stderr\|__filename\|__arg\|__env\)\>"
syn match marlSpecialVar "\$\(\d\|[&`'+_]\|\h\w*\)"
syn keyword marlBuiltin abs acos acosh array arrayi asin asinh atan atanh beep binmode bjoin bround bsplit cat
syn keyword marlBuiltin ceil chdir chmod chomp chop chr clamp clear close comb convnum copy cos cosh decode
syn keyword marlBuiltin deepcopy deserial detab dir encode entab eof erase error errorf eval exit exp fact
syn keyword marlBuiltin factor fcopy finite floor flush fmove format fulldir fullpath gc gcd getch getche getcwd
syn keyword marlBuiltin gets grep gsub hash index int jindex jlen join jrindex jrsubstr jsubstr kbhit key keys
syn keyword marlBuiltin lcm len localtime log log10 ltrim map match max min mkdir num open ord pack perm pksize
syn keyword marlBuiltin pop pow print printf push puts rand random read regexp rename resize reverse rewind
syn keyword marlBuiltin rindex rmap rmdir round rsubstr rtrim serial shift sign sin sinh sleep slice sort splice
syn keyword marlBuiltin split splitpath sprintf sqrt srand stat str strict sub substr system tan tanh tick time
syn keyword marlBuiltin tolower toupper tr trim txtmode type uint unlink unpack unshift write

syn match marlNumber "\<0[xX][0-9a-fA-F_]\+\>"
syn match marlNumber "\<0[bB][01_]\+\>"
syn match marlNumber "\<\d\+\.\=\d*\([eE][-+]\=\d\+\)\=\>"
syn match marlNumber "\.\d\+\([eE][-+]\=\d\+\)\=\>"

syn match marlEscape contained "\\\([ntrabfv"'\\0]\|x\x\x\|o\o\o\o\)"
syn region marlBlockString start=+"""$+ end=+^"""+
syn region marlString start=+"+ skip=+\\\\\|\\"+ end=+"+ contains=marlEscape oneline
syn region marlRawString start=+'+ skip=+\\'+ end=+'+ oneline
" A regular expression literal follows an operator, an opening bracket or a comma.
syn region marlRegex matchgroup=marlRegexDelim start=+\([=(,!~&|?:]\s*\)\@<=/[/*]\@!+ skip=+\\/+ end=+/[im]*+ oneline

syn keyword marlTodo contained TODO FIXME XXX
syn match marlComment "//.*$" contains=marlTodo
syn region marlComment start="/\*" end="\*/" contains=marlTodo
syn match marlPreProc "^\s*#\s*\(include\|define\|undef\|if\|ifdef\|ifndef\|elif\|else\|endif\|error\|pragma\|line\)\>.*$"
syn match marlComment "^\s*#\(\s*\(include\|define\|undef\|if\|ifdef\|ifndef\|elif\|else\|endif\|error\|pragma\|line\)\>\)\@!.*$"

syn match marlFunction "\(\<function\s\+\)\@<=\h\w*"
syn match marlFuncRef "&\h\w*"

hi def link marlKeyword Keyword
hi def link marlConditional Conditional
hi def link marlRepeat Repeat
hi def link marlException Exception
hi def link marlReserved Error
hi def link marlBoolean Boolean
hi def link marlNull Constant
hi def link marlConstant Constant
hi def link marlPredefined Identifier
hi def link marlSpecialVar Identifier
hi def link marlBuiltin Function
hi def link marlFunction Function
hi def link marlFuncRef Function
hi def link marlNumber Number
hi def link marlString String
hi def link marlRawString String
hi def link marlBlockString String
hi def link marlEscape SpecialChar
hi def link marlRegex String
hi def link marlRegexDelim Delimiter
hi def link marlComment Comment
hi def link marlTodo Todo
hi def link marlPreProc PreProc

let b:current_syntax = "marl"
