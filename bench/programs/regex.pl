# Regular-expression substitutions over every line of the text on standard input.
use strict;
use warnings;

my ($bytes, $lines, $first, $last) = (0, 0, "", "");
while (my $line = <STDIN>) {
  $line =~ s/(\w+) (\w+)/$2 $1/g;
  $line =~ s/k(\w)/K$1/g;
  $line =~ s/[aeiou]+/<$&>/g;
  $bytes += length($line);
  $first = $line if $lines == 0;
  $last = $line;
  $lines++;
}
printf("%d lines, %d bytes\n%s%s", $lines, $bytes, $first, $last);
