my %c; while (<STDIN>) { $c{$_}++ for split; } print scalar(keys %c), "\n";
