# Word frequencies of the text on standard input, most frequent first.
use strict;
use warnings;

my %counts;
my $words = 0;
while (my $line = <STDIN>) {
  for my $w (split ' ', $line) {
    $words++;
    if (exists $counts{$w}) { $counts{$w} += 1; } else { $counts{$w} = 1; }
  }
}
my @pairs = sort { $b->[1] <=> $a->[1] || $a->[0] cmp $b->[0] } map { [$_, $counts{$_}] } keys %counts;
for my $i (0 .. ($#pairs < 9 ? $#pairs : 9)) {
  printf("%7d %s\n", $pairs[$i][1], $pairs[$i][0]);
}
printf("%d words, %d distinct, the rarest %s\n", $words, scalar(@pairs), $pairs[-1][0]);
