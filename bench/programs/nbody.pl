# Floating-point simulation of five planets; each body is [x, y, z, vx, vy, vz, mass].
use strict;
use warnings;

sub planets {
  my $pi = 3.141592653589793;
  my $solar = 4 * $pi * $pi;
  my $year = 365.24;
  return [
    [0, 0, 0, 0, 0, 0, $solar],
    [4.84143144246472090e+00, -1.16032004402742839e+00, -1.03622044471123109e-01,
     1.66007664274403694e-03 * $year, 7.69901118419740425e-03 * $year,
     -6.90460016972063023e-05 * $year, 9.54791938424326609e-04 * $solar],
    [8.34336671824457987e+00, 4.12479856412430479e+00, -4.03523417114321381e-01,
     -2.76742510726862411e-03 * $year, 4.99852801234917238e-03 * $year,
     2.30417297573763929e-05 * $year, 2.85885980666130812e-04 * $solar],
    [1.28943695621391310e+01, -1.51111514016986312e+01, -2.23307578892655734e-01,
     2.96460137564761618e-03 * $year, 2.37847173959480950e-03 * $year,
     -2.96589568540237556e-05 * $year, 4.36624404335156298e-05 * $solar],
    [1.53796971148509165e+01, -2.59193146099879641e+01, 1.79258772950371181e-01,
     2.68067772490389322e-03 * $year, 1.62824170038242295e-03 * $year,
     -9.51592254519715870e-05 * $year, 5.15138902046611451e-05 * $solar],
  ];
}

sub offset_momentum {
  my ($bodies) = @_;
  my ($px, $py, $pz) = (0.0, 0.0, 0.0);
  for my $b (@$bodies) {
    $px += $b->[3] * $b->[6];
    $py += $b->[4] * $b->[6];
    $pz += $b->[5] * $b->[6];
  }
  my $sun = $bodies->[0];
  $sun->[3] = -$px / $sun->[6];
  $sun->[4] = -$py / $sun->[6];
  $sun->[5] = -$pz / $sun->[6];
}

sub energy {
  my ($bodies) = @_;
  my $e = 0.0;
  my $n = @$bodies;
  for my $i (0 .. $n - 1) {
    my $b = $bodies->[$i];
    $e += 0.5 * $b->[6] * ($b->[3] * $b->[3] + $b->[4] * $b->[4] + $b->[5] * $b->[5]);
    for my $j ($i + 1 .. $n - 1) {
      my $c = $bodies->[$j];
      my ($dx, $dy, $dz) = ($b->[0] - $c->[0], $b->[1] - $c->[1], $b->[2] - $c->[2]);
      $e -= $b->[6] * $c->[6] / sqrt($dx * $dx + $dy * $dy + $dz * $dz);
    }
  }
  return $e;
}

sub advance {
  my ($bodies, $dt, $steps) = @_;
  my $n = @$bodies;
  for (1 .. $steps) {
    for my $i (0 .. $n - 1) {
      my $b = $bodies->[$i];
      for my $j ($i + 1 .. $n - 1) {
        my $c = $bodies->[$j];
        my ($dx, $dy, $dz) = ($b->[0] - $c->[0], $b->[1] - $c->[1], $b->[2] - $c->[2]);
        my $d2 = $dx * $dx + $dy * $dy + $dz * $dz;
        my $mag = $dt / ($d2 * sqrt($d2));
        my ($bm, $cm) = ($b->[6] * $mag, $c->[6] * $mag);
        $b->[3] -= $dx * $cm;
        $b->[4] -= $dy * $cm;
        $b->[5] -= $dz * $cm;
        $c->[3] += $dx * $bm;
        $c->[4] += $dy * $bm;
        $c->[5] += $dz * $bm;
      }
    }
    for my $b (@$bodies) {
      $b->[0] += $dt * $b->[3];
      $b->[1] += $dt * $b->[4];
      $b->[2] += $dt * $b->[5];
    }
  }
}

my $steps = @ARGV ? $ARGV[0] : 150000;
my $bodies = planets();
offset_momentum($bodies);
printf("%.9f\n", energy($bodies));
advance($bodies, 0.01, $steps);
printf("%.9f\n", energy($bodies));
