# A source too large for the memory is reported as a lack of memory, as eval
# reports it, both read directly and through the preprocessor.
yes 'x = 1;' | head -n 10000000 >big.mr
prlimit --as=536870912 "$MARL" -N big.mr; echo "status $?"
prlimit --as=536870912 "$MARL" big.mr; echo "status $?"
# The text of a script ends at its first NUL: a device of zeros is an empty script.
"$MARL" -N /dev/zero; echo "status $?"
