# String building by appending, then searching the result.
use strict;
use warnings;

sub build {
  my ($n) = @_;
  my $s = "";
  for my $i (0 .. $n - 1) { $s .= "item" . $i . ";"; }
  return $s;
}

sub occurrences {
  my ($s, $t) = @_;
  my $c = 0;
  my $pos = index($s, $t);
  while ($pos >= 0) {
    $c++;
    $pos = index($s, $t, $pos + 1);
  }
  return $c;
}

my $rounds = @ARGV ? $ARGV[0] : 1500;
my ($total, $found, $where) = (0, 0, 0);
for my $r (0 .. $rounds - 1) {
  my $s = build(2000 + $r % 10);
  $total += length($s);
  $found += occurrences($s, "7;");
  $where += index($s, "item" . ($r * 37 % 2000) . ";");
}
printf("%d rounds: %d bytes, %d hits, positions %d\n", $rounds, $total, $found, $where);
