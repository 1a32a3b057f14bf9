srand(1); my @a = map { rand() } 1..1000000; @a = sort { $a <=> $b } @a; print $a[0] <= $a[1], "\n";
