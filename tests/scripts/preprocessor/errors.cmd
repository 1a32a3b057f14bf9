"$MARL" -Ilib errors.mr; echo "status $?"
printf '#if 1\nprint(1);\n' > unbalanced.txt; "$MARL" unbalanced.txt; echo "status $?"
printf '#error stop here\n' > err.txt; "$MARL" err.txt; echo "status $?"
printf '#include "nothere.h"\n' > miss.txt; "$MARL" miss.txt; echo "status $?"
