my $s = "";
for (my $i = 0; $i < 20000; $i++) { $s .= "ab"; $s .= $i % 10; }
print length($s), "\n";
