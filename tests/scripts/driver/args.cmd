"$MARL" args.mr -a one two
