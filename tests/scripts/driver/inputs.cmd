"$MARL" inputs.mr in1.txt in2.txt; echo "status $?"
"$MARL" inputs.mr in1.txt missing.txt; echo "status $?"
"$MARL" -e 'n = 0; while (gets() != "") n++; print(n, " ", __filename != "");' "in*.txt"
"$MARL" -e 'print(gets());' nothere.txt; echo "status $?"
