"$MARL" directives.mr; "$MARL" -DDEBUG -DLEVEL=3 directives.mr; "$MARL" -Ilib -e "print(1)"
