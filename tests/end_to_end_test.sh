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
    print /data....(.*)/s;
' "$folder"/recordings/*.wav | perl "$(dirname "$0")/tone_levels.pl" 1234 1294 >"$folder/levels"
heard=$(awk '0.4 < $1 && $1 < 0.6 && $2 < $1 / 5' "$folder/levels" | wc -l)
((heard >= 8)) || { echo "heard $heard quarter seconds of 3 s of tone" >&2; exit 1; }
