# Floating-point inner loop: escape times over a grid of the complex plane.
use strict;
use warnings;

sub mandelbrot {
  my ($size, $limit) = @_;
  my ($inside, $iterations) = (0, 0);
  for my $y (0 .. $size - 1) {
    my $ci = 2.0 * $y / $size - 1.0;
    for my $x (0 .. $size - 1) {
      my $cr = 2.0 * $x / $size - 1.5;
      my ($zr, $zi, $i) = (0.0, 0.0, 0);
      while ($i < $limit && $zr * $zr + $zi * $zi <= 4.0) {
        my $t = $zr * $zr - $zi * $zi + $cr;
        $zi = 2.0 * $zr * $zi + $ci;
        $zr = $t;
        $i++;
      }
      $iterations += $i;
      $inside++ if $i == $limit;
    }
  }
  return ($inside, $iterations);
}

my $size = @ARGV ? $ARGV[0] : 400;
my ($inside, $iterations) = mandelbrot($size, 50);
printf("%dx%d: %d inside, %d iterations\n", $size, $size, $inside, $iterations);
