printf 'one\ntwo\r\n' > a.txt; touch a.txt.bak a.txt.0.bak
"$MARL" -x inplace.mr a.txt; echo "status $?"
od -c a.txt; od -c a.txt.1.bak | head -1; ls a.txt*
