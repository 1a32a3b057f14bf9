my $sum = 0;
for (my $i = 0; $i < 1000; $i++) {
  for (my $j = 0; $j < 3000; $j++) {
    $sum += $i * $j % 7;
  }
}
print "$sum\n";
