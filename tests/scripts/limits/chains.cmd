# Within the limits every chain gives its value.
TERMS=100000 prlimit --as=536870912 "$MARL" chains.mr; echo "status $?"
# Far longer chains: whether a chain gives its value or stops depends on the
# memory left, but any error must be one of these, and no signal may end the run.
clean='error( \[[0-9]+\])?: (Out of memory|Recursion limit exceeded)'
TERMS=5000000 prlimit --as=536870912 "$MARL" chains.mr 2>&1 >/dev/null | grep -v -x -E "$clean"
echo "status ${PIPESTATUS[0]}"
TERMS=1000000 prlimit --as=2147483648 "$MARL" chains.mr 2>&1 >/dev/null | grep -v -x -E "$clean"
echo "status ${PIPESTATUS[0]}"
