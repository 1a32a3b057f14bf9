my $n = 400000;
my @flags = (0) x ($n + 1);
for (my $i = 2; $i <= $n; $i++) { $flags[$i] = 1; }
for (my $i = 2; $i * $i <= $n; $i++) {
  if ($flags[$i]) {
    for (my $j = $i * $i; $j <= $n; $j += $i) { $flags[$j] = 0; }
  }
}
my $c = 0;
for (my $i = 2; $i <= $n; $i++) { $c++ if $flags[$i]; }
print "$c\n";
