# Binary records: pack each into bytes, then unpack them all and add up the fields.
use strict;
use warnings;

my $n = @ARGV ? $ARGV[0] : 1000000;
my $layout = "V d< d< C4";
my @records = (undef) x $n;
for my $i (0 .. $n - 1) {
  $records[$i] = pack($layout, $i, $i * 0.5, -$i * 0.25, $i % 256, $i * 3 % 256, $i * 7 % 256, 255);
}
my ($bytes, $ids, $xs, $ys, $flags) = (0, 0, 0.0, 0.0, 0);
for my $r (@records) {
  $bytes += length($r);
  my @v = unpack($layout, $r);
  $ids += $v[0];
  $xs += $v[1];
  $ys += $v[2];
  $flags += $v[3] + $v[4] + $v[5] + $v[6];
}
printf("%d records, %d bytes, ids %.0f, x %.2f, y %.2f, flags %d\n", $n, $bytes, $ids, $xs, $ys,
       $flags);
