# Prints a line for each quarter second of mu-law sound at 8 kHz on standard input: the amplitude of
# each frequency, by Goertzel's algorithm. Full scale is 1.
#   tone_levels.pl HERTZ...
use strict;
use warnings;
my @turns = map { 2 * cos(2 * 3.14159265 * $_ / 8000) } splice @ARGV;
binmode STDIN;
while (read(STDIN, my $codes, 2000) == 2000) {
    my @samples = map {
        my $code = ~$_ & 0xFF;
        my $magnitude = ((($code & 15) << 3) + 132 << ($code >> 4 & 7)) - 132;
        ($code & 0x80 ? -$magnitude : $magnitude) / 32768;
    } unpack "C*", $codes;
    my @levels;
    for my $turn (@turns) {
        my ($last, $before) = (0, 0);
        ($last, $before) = ($_ + $turn * $last - $before, $last) for @samples;
        push @levels, sqrt($last**2 + $before**2 - $turn * $last * $before) / 1000;
    }
    print "@levels\n";
}
