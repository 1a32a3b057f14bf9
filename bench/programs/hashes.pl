# A hash with string keys: insertions, updates of existing keys, then lookups.
use strict;
use warnings;

my $n = @ARGV ? $ARGV[0] : 500000;
my %h;
my $x = 42;
my $keyspace = int($n / 2);
for my $i (0 .. $n - 1) {
  $x = $x * 16807 % 2147483647;
  my $k = "key" . ($x % $keyspace);
  if (exists $h{$k}) { $h{$k} += $i % 7; } else { $h{$k} = 1; }
}
my ($hits, $sum) = (0, 0);
for my $i (0 .. $n - 1) {
  my $k = "key" . $i;
  if (exists $h{$k}) {
    $hits++;
    $sum += $h{$k};
  }
}
printf("%d keys, %d hits, sum %d\n", scalar(keys %h), $hits, $sum);
