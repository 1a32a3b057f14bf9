"$MARL" -e 'print("attached")'; "$MARL" '-eprint(1+1)'; "$MARL" -e 'exit(5)'; echo "status $?"
"$MARL" -e 'print(__arg[0])'
"$MARL" -e 'print(1' ; echo "status $?"
"$MARL" -e 'exit(300)'; echo "status $?"
"$MARL" -e 'exit(-1)'; echo "status $?"
"$MARL" -e 'exit("abc")'; echo "status $?"
"$MARL" -e 'exit(3e10)'; echo "status $?"
