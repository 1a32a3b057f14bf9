cd sub 2>/dev/null || true; "$MARL" args.mr -a one two
