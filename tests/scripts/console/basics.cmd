"$MARL" -t
echo "status $?"
