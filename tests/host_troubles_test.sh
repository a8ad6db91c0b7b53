#!/usr/bin/env bash
# Runs tamborin-host while files, readers, the sound server and the terminal fail.
#   host_troubles_test.sh HOST PRIVATE-PULSEAUDIO
set -euo pipefail
[ $# -eq 1 ] || exec "$2" "$0" "$1"
host=$1
folder=$(mktemp -d)
server=$(cat "$PULSE_RUNTIME_PATH/pid")
trap 'kill -CONT $server; rm -rf "$folder"' EXIT
cd "$folder"
fail() { echo "FAILED: $*" >&2; exit 1; }

# When the reader of the messages dies, the recording must go on.
"$host" record --input 0 --for 1 --log-level detail --out unheard 2> >(exit) >out ||
    fail "without a logger: $(cat out)"

# A recording that reaches the file size limit must report a failed write.
status=0
(ulimit -f 8 && exec "$host" record --input 0 --for 20 --out limited 2>err >out) || status=$?
if [ $status -ne 1 ] || ! grep -q "^tamborin-host: cannot write .*wav: File too large" err; then
    fail "at the limit of a file: exit status $status: $(cat out err)"
fi

# A start that waits for a sound server that hangs must end at the first signal.
kill -STOP "$server"
"$host" record 2>err & waiting=$!
until grep -q "starting the module" err; do sleep 0.1; done
kill -TERM $waiting
status=0
wait $waiting || status=$?
kill -CONT "$server"
if [ $status -ne 1 ] || ! grep -q "^tamborin-host: stopped while starting the module" err; then
    fail "stopped while the server hangs: exit status $status: $(cat err)"
fi

# A reader that stalls, of records or of messages, must not stop the recording or delay the end.
mkfifo stalled
exec 3<>stalled
dd if=/dev/zero of=stalled oflag=nonblock bs=4096 count=999 2>/dev/null || true  # until it is full
for streams in "stalled err 1" "out stalled 0"; do
    read -r out err expected <<<"$streams"
    timeout --foreground -k 60 120 "$host" record --json --log-level detail --input 0 \
        --out "beside $out" >"$out" 2>"$err" & recorder=$!
    until [ -n "$(find "beside $out" -size +16k 2>/dev/null)" ]; do
        kill -0 $recorder || fail "no sound while the reader stalls"
        sleep 0.1
    done
    kill -TERM $recorder
    status=0
    wait $recorder || status=$?
    [ $status -eq "$expected" ] || fail "stopped while the reader stalls: exit status $status"
    ! grep 'Channel.* Enabled="1"' tamborin.xml || fail "a reader who stalls leaves an input enabled"
done
grep -q "^tamborin-host: [0-9]* records were left out" err || fail "records left out: $(cat err)"

# Results, and an end without a signal, do not depend on a reader of messages, either.
for run in "0 channels --log-level detail" "2 --unknown"; do
    read -ra arguments <<<"$run"
    status=0
    timeout -k 60 120 "$host" "${arguments[@]:1}" >out 2>stalled || status=$?
    [ $status -eq "${arguments[0]}" ] || fail "${arguments[*]:1}: exit status $status: $(cat out)"
    [ $status -ne 0 ] || grep -q default out || fail "the results are lost"
done
rm err
timeout --foreground -k 60 120 "$host" record --input 0 --out - >stalled 2>err & recorder=$!
until grep -qs "^channel 0 .*\] [^w]" err; do  # until it is not "waiting"
    kill -0 $recorder || fail "no sound for a reader who takes nothing"
    sleep 0.1
done
kill -TERM $recorder
status=0
wait $recorder || status=$?
if [ $status -ne 1 ] || ! grep -q "sound was left out, as .*: [0-9][0-9]* s$" err || ! grep -q "^ *0 .* 0.00 " err; then
    fail "sound that nobody took: exit status $status: $(cat err)"
fi
exec 3<&-

# `watch` must end when its terminal is gone, also without SIGHUP.
script -qec 'tty >tty; exec sleep 600' /dev/null </dev/null >/dev/null 2>&1 & terminal=$!
until [ -s tty ]; do sleep 0.1; done
exec 3<>"$(cat tty)"
TERM=xterm timeout 60 "$host" watch <&3 >&3 3<&- 2>err & watch=$!
exec 3<&-
until grep -qs 'Channel.* Enabled="1"' tamborin.xml; do sleep 0.1; done
kill $terminal
wait $watch || fail "watch without its terminal: exit status $?: $(cat err)"
! grep 'Channel.* Enabled="1"' tamborin.xml || fail "watch has left an input enabled"
