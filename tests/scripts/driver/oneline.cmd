"$MARL" -e 'print("attached")' && "$MARL" -eprint(1+1) && "$MARL" -e 'exit(5)'; echo "status $?"
"$MARL" -e 'print(__arg[0])'
