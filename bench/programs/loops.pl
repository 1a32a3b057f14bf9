# Integer arithmetic in two nested counted loops.
use strict;
use warnings;

sub loops {
  my ($n) = @_;
  my $t = 0;
  for my $i (0 .. $n - 1) {
    for my $j (0 .. $n - 1) {
      $t = ($t * 31 + $i * $j + $j % 13) % 1000003;
    }
  }
  return $t;
}

my $n = @ARGV ? $ARGV[0] : 2500;
printf("loops(%d) = %d\n", $n, loops($n));
