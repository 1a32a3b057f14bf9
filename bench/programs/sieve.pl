# Sieve of Eratosthenes over an array of flags, repeated.
use strict;
use warnings;

sub sieve {
  my ($n) = @_;
  my @flags = (1) x ($n + 1);
  my ($count, $last) = (0, 0);
  for my $i (2 .. $n) {
    if ($flags[$i]) {
      $count++;
      $last = $i;
      for (my $j = $i * $i; $j <= $n; $j += $i) { $flags[$j] = 0; }
    }
  }
  return ($count, $last);
}

my $n = @ARGV ? $ARGV[0] : 2000000;
my ($count, $last);
($count, $last) = sieve($n) for 1 .. 3;
printf("primes up to %d: %d, the last %d\n", $n, $count, $last);
