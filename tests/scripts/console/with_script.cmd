"$MARL" -t with_script.mr
echo "status $?"
