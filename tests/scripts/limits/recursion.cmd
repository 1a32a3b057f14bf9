for limit in 536870912 2147483648; do
  prlimit --as=$limit "$MARL" recursion.mr; echo "status $?"
done
