for limit in 536870912 2147483648; do
  prlimit --as=$limit "$MARL" huge.mr; echo "status $?"
done
