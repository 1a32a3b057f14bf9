my $s = <STDIN>; $s =~ s/(\w+) (\w+)/$2 $1/g; print length($s), "\n";
