# Function calls: the naive double recursion.
use strict;
use warnings;

sub fib {
  my ($n) = @_;
  return $n if $n < 2;
  return fib($n - 1) + fib($n - 2);
}

my $n = @ARGV ? $ARGV[0] : 33;
printf("fib(%d) = %d\n", $n, fib($n));
