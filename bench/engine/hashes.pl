my %h; my @keys;
for (my $i = 0; $i < 200; $i++) { my $k = "k$i"; $keys[$i] = $k; $h{$k} = 0; }
for (my $r = 0; $r < 100; $r++) { for (my $i = 0; $i < 200; $i++) { $h{$keys[$i]} += $i; } }
print "$h{k7} $h{k199}\n";
