for limit in 536870912 2147483648; do
  prlimit --as=$limit "$MARL" deep_source.mr; echo "status $?"
done
# The same nesting in a script file.
printf 'x = %s1%s;\nprint(x);\n' "$(printf '(%.0s' {1..100000})" "$(printf ')%.0s' {1..100000})" >nested.mr
prlimit --as=536870912 "$MARL" -N nested.mr; echo "status $?"
