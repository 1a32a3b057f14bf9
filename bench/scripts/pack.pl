my $t = 0; for my $i (0..999999) { my @v = unpack("Vd<d<C4", pack("Vd<d<C4", $i, 1.5, -2.25, 1, 2, 3, 4)); $t += $v[0]; } print "$t\n";
