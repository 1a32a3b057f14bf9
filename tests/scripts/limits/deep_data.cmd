DEPTH=200000 prlimit --as=536870912 "$MARL" deep_data.mr; echo "status $?"
DEPTH=500000 prlimit --as=2147483648 "$MARL" deep_data.mr; echo "status $?"
