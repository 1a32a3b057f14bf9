# Allocation: many short-lived binary trees of [left, right] arrays, and one long-lived.
use strict;
use warnings;
no warnings 'recursion';

sub make {
  my ($d) = @_;
  return [undef, undef] if $d == 0;
  return [make($d - 1), make($d - 1)];
}

sub check {
  my ($t) = @_;
  return 1 unless defined $t->[0];
  return 1 + check($t->[0]) + check($t->[1]);
}

my $maxdepth = @ARGV ? $ARGV[0] : 14;
my $stretch = $maxdepth + 1;
printf("stretch tree of depth %d\t check: %d\n", $stretch, check(make($stretch)));
my $longlived = make($maxdepth);
for (my $d = 4; $d <= $maxdepth; $d += 2) {
  my $iterations = 1;
  $iterations *= 2 for 1 .. $maxdepth - $d + 4;
  my $sum = 0;
  $sum += check(make($d)) for 1 .. $iterations;
  printf("%d\t trees of depth %d\t check: %d\n", $iterations, $d, $sum);
}
printf("long lived tree of depth %d\t check: %d\n", $maxdepth, check($longlived));
