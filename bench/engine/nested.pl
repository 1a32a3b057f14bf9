my $t = 0;
for (my $i = 0; $i < 300; $i++) {
  for (my $j = 0; $j < 1000; $j++) {
    $t = ($t * 31 + $i * $j + $j % 13) % 1000003;
  }
}
print "$t\n";
