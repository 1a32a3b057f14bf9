open(my $o, ">", $ARGV[0]); my $n = 0; while (<STDIN>) { print $o $_; $n++; } close($o); print "$n\n";
