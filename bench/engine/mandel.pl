sub mandel {
  my ($w, $h, $iters) = @_;
  my $count = 0;
  for (my $y = 0; $y < $h; $y++) {
    for (my $x = 0; $x < $w; $x++) {
      my $cr = 2.0 * $x / $w - 1.5;
      my $ci = 2.0 * $y / $h - 1.0;
      my ($zr, $zi, $k) = (0.0, 0.0, 0);
      while ($k < $iters && $zr * $zr + $zi * $zi <= 4.0) {
        my $t = $zr * $zr - $zi * $zi + $cr;
        $zi = 2.0 * $zr * $zi + $ci;
        $zr = $t;
        $k++;
      }
      $count++ if $k == $iters;
    }
  }
  return $count;
}
print mandel(80, 60, 50), "\n";
