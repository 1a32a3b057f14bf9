# Spectral norm of an infinite matrix, by power iteration on arrays of floats.
use strict;
use warnings;

sub a {
  my ($i, $j) = @_;
  return 1.0 / (($i + $j) * ($i + $j + 1) / 2 + $i + 1);
}

sub mul {
  my ($v, $out, $n) = @_;
  for my $i (0 .. $n - 1) {
    my $s = 0.0;
    for my $j (0 .. $n - 1) { $s += a($i, $j) * $v->[$j]; }
    $out->[$i] = $s;
  }
}

sub mul_transposed {
  my ($v, $out, $n) = @_;
  for my $i (0 .. $n - 1) {
    my $s = 0.0;
    for my $j (0 .. $n - 1) { $s += a($j, $i) * $v->[$j]; }
    $out->[$i] = $s;
  }
}

sub mul_both {
  my ($v, $out, $tmp, $n) = @_;
  mul($v, $tmp, $n);
  mul_transposed($tmp, $out, $n);
}

my $n = @ARGV ? $ARGV[0] : 320;
my @u = (1.0) x $n;
my @v = (0.0) x $n;
my @tmp = (0.0) x $n;
for (1 .. 10) {
  mul_both(\@u, \@v, \@tmp, $n);
  mul_both(\@v, \@u, \@tmp, $n);
}
my ($vbv, $vv) = (0.0, 0.0);
for my $i (0 .. $n - 1) {
  $vbv += $u[$i] * $v[$i];
  $vv += $v[$i] * $v[$i];
}
printf("%.9f\n", sqrt($vbv / $vv));
