"$MARL" | sed -n '3,14p'; echo "status ${PIPESTATUS[0]}"
"$MARL" -q x.mr >/dev/null; echo "status $?"
"$MARL" -e >/dev/null; echo "status $?"
"$MARL" -i latin1 -e 'print(1)'; echo "status $?"
