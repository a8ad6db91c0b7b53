#!/usr/bin/env bash
# Each command of tamborin-host must succeed when a sound server runs.
#   host_commands_test.sh HOST PRIVATE-PULSEAUDIO
set -euo pipefail
[ $# -eq 1 ] || exec "$2" "$0" "$1"
host=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
fail() { echo "FAILED: $*: $(cat out err)" >&2; exit 1; }
expect() {  # PATTERN ARGUMENTS...: succeeds, and prints a line like this
    "$host" "${@:2}" >out 2>err || fail "${*:2}: exit status $?"
    grep -qE -- "$1" out || fail "${*:2}: no '$1'"
}

expect "^ +1  output  no +pulse \(output\) +pulse$" channels
expect "^ +0 .* and [0-9] more$" record --input 0 --for 2 --rotate 1 --out rotated --picture picture.png
[ "$(find rotated -name 'channel0-*.wav' | wc -l)" -ge 2 ] || fail "not rotated: $(ls rotated)"
[ "$(head -c 8 picture.png | od -An -tx1 | tr -d ' ')" = 89504e470d0a1a0a ] || fail "no PNG"
# What is recorded can be played, and is heard where it is played.
expect "found" talk --for 8 --find-clip --input 0 --out clip
expect "buffers: ([0-9]+) lent, \1 returned" play clip/channel0-*.wav --for 2 --output "pulse (output)"

echo '<Varo><Devices ID="1310720"><Device><Audio><Input Number="0" Name="Tür 門"/></Audio></Device>
    </Devices></Varo>' >rename.xml
expect "^ +0  input   no +Tür 門 +pulse$" send rename.xml
expect '<Input Number="0" Name="Tür 門"' describe
expect "^Nothing is wrong" doctor
! PULSE_SERVER=unix:/nowhere "$host" doctor >out 2>err || fail "doctor: sees a server"
{ grep -q "WRONG  no device to record from" out && grep -q -- "-> start a sound server first" out &&
    grep -q "2 things are wrong" out; } || fail "doctor: no advice"

# A terminal of 61 columns and ten lines.
TERM=xterm script -qec "stty cols 61 rows 10; '$host' watch --for 2" /dev/null </dev/null >out 2>err ||
    fail "watch: exit status $?"
for shown in "devices ok" "recording" "\[.*\].*0.*Tür 門" "default (output)" "q quits"; do
    grep -q "$shown" out || fail "watch: no '$shown'"
done

# The reader of stdout leaves after the first sound: that is no failure.
status=0
"$host" record --json --input 0 2>err | grep -m 1 '"record":"audio"' >out || status=${PIPESTATUS[0]}
[ "$status" -eq 0 ] || fail "the reader left: exit status $status"
! grep 'Channel.* Enabled="1"' tamborin.xml || fail "an input stays enabled"

# A sound server that dies and comes back must make one gap, with its length in the table.
"$host" record --input 0 --log-level detail --out gap >out 2>err & recorder=$!
until [ -n "$(find gap -size +16k 2>/dev/null)" ]; do sleep 0.1; done
kill -KILL "$(cat "$PULSE_RUNTIME_PATH/pid")"
until [ "$(grep -c "Started input stream" err)" -ge 2 ]; do sleep 0.1; done
before=$(stat -c %s gap/*.wav)
until [ "$(stat -c %s gap/*.wav)" -ge $((before + 30000)) ]; do sleep 0.1; done
kill -INT $recorder
wait $recorder || fail "record beside a server that died: exit status $?"
grep -qE "^ +0 .* 1 \([0-9]+\.[0-9]+ s\) " out || fail "no gap"
