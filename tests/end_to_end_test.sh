#!/usr/bin/env bash
# Plays a tone (a file with 44.1 kHz) through the built library, the reference host and a real sound server, and
# expects it in the recording with its pitch and nearly its level.
#   end_to_end_test.sh HOST PRIVATE_SERVER
set -euo pipefail
folder=$(mktemp -d /tmp/tamborin-e2e-XXXXXX)
trap 'rm -rf "$folder"' EXIT

perl -e '
    my $samples = pack "s<*", map { 16384 * sin(2 * 3.14159265 * 1234 * $_ / 44100) } 0 .. 3 * 44100 - 1;
    print "RIFF", pack("V", 36 + length $samples), "WAVEfmt ", pack("VvvVVvv", 16, 1, 1, 44100, 88200, 2, 16),
        "data", pack("V", length $samples), $samples;
' >"$folder/tone.wav"
"$2" "$1" talk "$folder/tone.wav" --for 10 --dir "$folder" --out "$folder/recordings"

perl -0777 -ne '
    my ($tag, $channels, $rate) = unpack "vvV", (/fmt ....(.{8})/s)[0];
    die "not mu-law, mono, 8000 Hz: $tag $channels $rate\n" unless "$tag $channels $rate" eq "7 1 8000";
    my @samples = map {
        my $code = ~$_ & 0xFF;
        my $magnitude = ((($code & 15) << 3) + 132 << ($code >> 4 & 7)) - 132;
        ($code & 0x80 ? -$magnitude : $magnitude) / 32768;
    } unpack "C*", (/data....(.*)/s)[0];
    sub amplitude {  # of a frequency in a quarter second, by Goertzel'"'"'s algorithm
        my ($begin, $hertz) = @_;
        my $turn = 2 * cos(2 * 3.14159265 * $hertz / 8000);
        my ($last, $before) = (0, 0);
        ($last, $before) = ($_ + $turn * $last - $before, $last) for @samples[$begin .. $begin + 1999];
        return 2 * sqrt($last**2 + $before**2 - $turn * $last * $before) / 2000;
    }
    my $heard = 0;
    for (my $begin = 0; $begin + 2000 <= @samples; $begin += 2000) {
        my $level = amplitude($begin, 1234);
        ++$heard if $level > 0.4 && $level < 0.6 && amplitude($begin, 1294) < $level / 5;
    }
    die "heard $heard quarter seconds of 3 s of tone\n" if $heard < 8;
' "$folder"/recordings/*.wav
