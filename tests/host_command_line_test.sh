#!/usr/bin/env bash
# Runs tamborin-host as a user does. Without a sound system every failure must be one line that says
# what to do. With one, --json must print only records, and a killed recording must be playable.
#   host_command_line_test.sh HOST PRIVATE-PULSEAUDIO
set -euo pipefail
host=$1 pulseaudio=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
fail() { echo "FAILED: $*" >&2; exit 1; }

export PULSE_SERVER=unix:/nowhere ALSA_CONFIG_PATH=$folder/asound.conf
expect() {  # STATUS PART-OF-THE-LINE ARGUMENTS...
    local status=0
    "$host" "${@:3}" >out 2>err </dev/null || status=$?
    [ "$status" -eq "$1" ] || fail "${*:3}: exit status $status: $(cat err)"
    if [ -s out ] || [ "$(wc -l <err)" -ne 1 ] || ! grep -q "^tamborin-host: .*$2" err; then
        fail "${*:3}: $(cat out err)"
    fi
}
doctor() {  # PART-OF-A-FINDING about the folder "settings", which must not change
    stat -c "%n %F %s %y" settings/* >before
    "$host" doctor --dir settings >out 2>err || true
    grep -q "$1" out || fail "doctor: $(cat out err)"
    stat -c "%n %F %s %y" settings/* | cmp - before
}
echo '<Varo><Devices ID="1"/></Varo>' >foreign.xml
echo '<Varo><Devices' >torn.xml
printf '<a>%.0s' {1..100000} >deep.xml
{ echo '<Varo>'; printf '<e'; printf ' a%s=""' {1..1001}; printf '\n/>\n<Devices'; } >wide.xml
touch file
printf '%b' 'RIFF\xff\xff\xff\xffWAVEfmt \x10\0\0\0\x01\0\x01\0\x40\x1f\0\0\x80\x3e\0\0\x02\0\x10\0' \
    'data\xf0\xff\xff\xff' >long.wav
truncate -s 4G long.wav
echo "pcm.default.type none" >asound.conf
expect 2 "name a command"
expect 2 "not expected: bogus" bogus
expect 2 "record --help" record --bogus
expect 2 "--for: 'x' is not a number" record --for x
expect 2 "--rotate: '0' is not" record --rotate 0
expect 2 "both need stdout" record --out - --json
expect 2 "not go with --picture" record --out - --picture x.png
expect 2 "not go with --rotate" record --out - --rotate 3
expect 2 "takes one --input" record --out - --input 0 1
expect 2 "for 'record' only" talk --out -
expect 2 "loud" channels --log-level loud
expect 2 "does not exist: none.wav" play none.wav
expect 2 "file is required" send
expect 1 "cannot play .*file" play file
expect 1 "long.wav: it is longer than 4 hours" play long.wav
expect 1 "start a sound server" play long.wav --for 1
expect 1 "none.so.*--module" channels --module none.so
expect 1 "no function Load.*--module" channels --module libm.so.6
expect 1 "file: .*--dir" channels --dir file
expect 1 "start a sound server" channels
expect 1 "start a sound server" record --quiet
expect 1 "needs a terminal" watch
expect 1 "no input 'Door'.*doctor" record --input Door
expect 1 "file.*--picture" record --picture file/x.png
expect 1 "nothing for this module" send foreign.xml
expect 1 "no XML document" send torn.xml
expect 1 "line 1: element 'a' is nested deeper than 256 levels and cannot be read to its end" send deep.xml
mkdir gone
(cd gone && rmdir ../gone && ! "$host" record --dir "$folder/far" 2>"$folder/err") || fail "recorded nowhere"
grep -q "the working directory is gone; change to another" err || fail "$(cat err)"
! "$host" send wide.xml 2>err || fail "sent"
{ grep -q "leaves out: line 2: element 'e' has more than 1000 attributes" err &&
    grep -q "line 4: " err; } || fail "$(cat err)"
mkdir settings
cat >settings/tamborin.xml <<<'<Varo><Devices ID="1310720"><Device><Audio>
    <Input Number="0" OsName="pulse"/><Input Number="1" OsName="pulse"/><Input Number="2"
    OsName="default"/><Input Number="3" OsName="default" Output="1"/></Audio></Device></Devices></Varo>'
expect 1 "no input 'pulse'" record --dir settings --input pulse
expect 1 "input 'default' has no device" record --dir settings --input default
(trap "" XFSZ && ulimit -f 32 && doctor "WRONG .* saved in .*File too large")
mkfifo settings/tamborin.xml.pending && doctor "note .*pending is no regular file"
rm settings/*.pending && mkdir settings/tamborin.xml.pending
doctor "WRONG .*pending cannot be replaced: it is a folder"

# Reading a FIFO waits for what is written. The first signal must end that.
mkfifo pipe
for command in play talk send; do
    timeout --foreground -k 60 600 "$host" $command pipe 2>err & waiting=$!
    exec 3>pipe  # waits until it is read
    kill -TERM $waiting
    status=0
    wait $waiting || status=$?
    exec 3>&-
    if [ $status -ne 1 ] || ! grep -q "^tamborin-host: stopped while reading the .*; not" err; then
        fail "$command, stopped: exit status $status: $(cat err)"
    fi
done

# Each process restores what it found, so only one may use a folder. Others must name that one.
mkdir used
! flock used "$host" channels --dir used 2>err || fail "two in one folder"
grep -q "^tamborin-host: .*/used is in use by flock (process [0-9]*); .*--dir" err || fail "$(cat err)"
PULSE_SERVER=unix:/nowhere flock used "$host" doctor --dir used >out || true
grep -q "/used is in use by flock (process" out || fail "the doctor does not say it: $(cat out)"
[ ! -e used/tamborin.xml ] || fail "the folder in use was written"

# Names must not control the terminal: no colours, C1 control characters or changes of direction.
colour=$'\e[33mT' control=$'\xc2\x9b' turn=$'\xe2\x80\xae'
LC_ALL=C expect 1 "no input 'Tür???'" record --input "Tür$control$turn"$'\x9b'
mkdir "$colour"
for command in doctor "channels --json"; do
    echo '<Varo><Devices ID="1310720"><Device><Audio>' \
        "<Input Number='0' Name='$control$turn'/></Audio></Device></Devices></Varo>" \
        >"$colour/tamborin.xml"
    TERM=xterm PULSE_SERVER=unix:/nowhere ALSA_CONFIG_PATH=$folder/asound.conf \
        script -qec "'$host' $command --dir '$colour'" /dev/null >out </dev/null || true
    grep -q "?" out || fail "$command, on a terminal: $(cat -v out)"
    ! grep -F -e "$colour" -e "$control" -e "$turn" out || fail "$command: a terminal would obey"
done

unset ALSA_CONFIG_PATH
# shellcheck disable=SC2016  # $1 is the inner shell's
"$pulseaudio" bash -euo pipefail -c '
    "$1" doctor --quiet || { echo "doctor: wrong"; exit 1; }
    "$1" record --json --for 1 --input 0 --out json >json.out 2>/dev/null
    "$1" record --out - --for 1 >stream.wav 2>/dev/null
    timeout 60 "$1" record --out - 2>stream.err | head -c 3000 >heard.wav
    "$1" record --quiet --rotate 1 --input "pulse (input)" --out killed & recorder=$!
    for _ in $(seq 600); do
        [ "$(find killed -name "*.wav" -size +2k 2>/dev/null | wc -l)" -lt 2 ] || break
        sleep 0.1
    done
    kill -KILL $recorder' - "$host" || fail "recording"
grep -q '"record":"audio"' json.out || fail "no audio in: $(head -3 json.out)"
! grep -v '^{"record":.*}$' json.out || fail "stdout holds more than records"
# A stream is a header without a length, then whole frames. It ends with its reader.
printf '%b' 'RIFF\xff\xff\xff\xffWAVEfmt \x12\0\0\0\x07\0\x01\0\x40\x1f\0\0\x40\x1f\0\0\x01\0\x08\0\0\0' \
    'data\xff\xff\xff\xff' >header
{ cmp -n 46 header stream.wav && cmp -n 46 header heard.wav; } ||
    fail "the header of a stream: $(od -t x1 stream.wav | head -4)"
size=$(stat -c %s stream.wav)
((size > 46 && (size - 46) % 2048 == 0)) || fail "a stream of $size bytes"
{ grep -q "^buffers: " stream.err && ! grep "^tamborin-host: " stream.err; } || fail "$(cat stream.err)"
mapfile -t files < <(ls -tr killed/channel0-*.wav)
[ "$(stat -c %s "${files[0]}")" -eq 8058 ] || fail "not one second: $(ls -l killed)"
told=$(od -An -tu4 -j54 -N4 "${files[1]}") size=$(($(stat -c %s "${files[1]}") - 58))
((told > 0 && told <= size && told >= size - 2048)) || fail "the header tells $told of $size bytes"
