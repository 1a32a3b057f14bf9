# Quicksort written in the script over an array of pseudo-random integers.
use strict;
use warnings;

sub quicksort {
  my ($v, $lo, $hi) = @_;
  while ($lo < $hi) {
    my $p = $v->[int(($lo + $hi) / 2)];
    my ($i, $j) = ($lo, $hi);
    while ($i <= $j) {
      $i++ while $v->[$i] < $p;
      $j-- while $v->[$j] > $p;
      if ($i <= $j) {
        @$v[$i, $j] = @$v[$j, $i];
        $i++;
        $j--;
      }
    }
    # Recurse into the smaller part and loop on the larger, so the depth stays logarithmic.
    if ($j - $lo < $hi - $i) {
      quicksort($v, $lo, $j);
      $lo = $i;
    } else {
      quicksort($v, $i, $hi);
      $hi = $j;
    }
  }
}

my $n = @ARGV ? $ARGV[0] : 400000;
my @a = (0) x $n;
my $x = 42;
for my $i (0 .. $n - 1) {
  $x = $x * 16807 % 2147483647;
  $a[$i] = $x % 1000000;
}
quicksort(\@a, 0, $n - 1);
my ($disorder, $sum) = (0, 0);
for my $i (0 .. $n - 1) {
  $disorder++ if $i > 0 && $a[$i - 1] > $a[$i];
  $sum = ($sum * 31 + $a[$i]) % 1000000007;
}
printf("%d sorted, %d out of order, checksum %d\n", $n, $disorder, $sum);
