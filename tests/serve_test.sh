#!/usr/bin/env bash
# The server between a real sound server and real clients. Only users with their passwords may come
# in. Two clients share one capture beside one that reads nothing. They hear what a client talks,
# also when strangers send packets. A second talker is refused. All obey the rules (rtsp_rules.py).
#   serve_test.sh HOST PRIVATE_SERVER
set -euo pipefail
if [ $# -eq 2 ]; then
    exec "$2" "$0" "$1"
fi
host=$1 clients=$(dirname "$0")/serve_clients.py rules=$(dirname "$0")/rtsp_rules.py
folder=$(mktemp -d /tmp/tamborin-serve-XXXXXX)
end() {
    # bash tells of killed jobs when it collects them.
    { kill -KILL $(jobs -p) && wait; } 2>/dev/null || true
    rm -rf "$folder"
}
trap end EXIT
fail() {
    echo "$*" >&2
    tail -n 20 "$folder"/*.err "$folder"/*.out >&2
    exit 1
}
await() {  # WHAT COMMAND..., for half a minute or more
    local tries
    for ((tries = 300; tries > 0; --tries)); do
        "${@:2}" && return
        sleep 0.1
    done
    fail "not seen: $1"
}
start() {  # OPTIONS..., sets server and url
    : >"$folder/server.out"
    GST_DEBUG=rtspmedia:2 GST_DEBUG_FILE=$folder/media.log \
        "$host" serve --dir "$folder/settings" --rtsp-port 0 --http-port 0 "$@" \
        >"$folder/server.out" 2>"$folder/server.err" &
    server=$!
    await "the server's URLs" grep -q '^rtsp.*/2 ' "$folder/server.out"
    await "the page's URL" grep -q 'the page$' "$folder/server.out"
    url=$(sed -n 's|0  .*||p' "$folder/server.out")
    page=$(sed -n 's|  the page$||p' "$folder/server.out")
}
# Replaces the shell, so it is called in parentheses or with "&". Then `end` kills Python itself.
rule() {  # RULE ARGUMENTS...
    exec /usr/bin/python3 "$rules" "${url}0" "$page" "$@" >"$folder/$1.out" 2>"$folder/$1.err"
}
stop() {
    kill -TERM "$server"
    wait "$server" || fail "the server ended with $?"
}

heard() {  # FILE HERTZ LEAST_QUARTER_SECONDS
    local times
    times=$(perl "$(dirname "$0")/tone_levels.pl" "$2" <"$1" | awk '$1 > 0.4' | wc -l)
    ((times >= $3)) || fail "heard $times quarter seconds of $2 Hz in $1"
}

# Without the right password nobody may come in.
status=0
"$host" serve --dir "$folder/settings" --listen 0.0.0.0 2>"$folder/refused.err" || status=$?
[ "$status $(wc -l <"$folder/refused.err")" = "2 1" ] || fail "listens without passwords: $status"
# Ctrl-C at the prompt leaves the terminal with its echo.
/usr/bin/python3 - "$host" "$folder/passwords" <<'END' || fail "the terminal stays silent"
import os, pty, signal, subprocess, sys, termios
screen, terminal = pty.openpty()
echoes = lambda: bool(termios.tcgetattr(terminal)[3] & termios.ECHO)
signal.signal(signal.SIGINT, signal.SIG_DFL)  # the child inherits it
asking = subprocess.Popen([sys.argv[1], "password", "--file", sys.argv[2], "carol"],
                          stdin=terminal, stderr=terminal)
os.read(screen, 1)  # the prompt
assert not echoes()
asking.send_signal(signal.SIGINT)
assert asking.wait() == -signal.SIGINT and echoes()
END
"$host" password --file "$folder/passwords" alice <<<"correct horse"
"$host" password --file "$folder/passwords" bob <<<"battery staple"
[ "$(stat -c %a "$folder/passwords")" = 600 ] || fail "others may read the passwords"
start --passwords "$folder/passwords"
probe() {  # USER:PASSWORD@ PATH
    ffprobe -v error -show_entries stream=codec_name -of csv=p=0 "rtsp://$1${url#rtsp://}$2" 2>&1
}
for who in "" alice:wrong@ "alice:battery staple@" carol:@; do
    [[ $(probe "$who" 0) == *401* ]] || fail "came in as '$who': $(probe "$who" 0)"
done
[ "$(probe alice:correct%20horse@ 0)" = pcm_mulaw ] || fail "alice stays outside"
[ "$(probe bob:battery%20staple@ pulse%20%28input%29)" = pcm_mulaw ] || fail "no input by its name"
[[ $(probe bob:battery%20staple@ nothing) == *404* ]] || fail "an input that is not there"
stop

# A new name holds at once, and the old one is unknown then. Clients that already listen by it
# continue. A number comes before a name. Of two inputs with one name the first is meant.
describe() {  # PATH, prints the status
    local port=${url##*:} status
    exec 3<>"/dev/tcp/127.0.0.1/${port%/}"
    printf 'DESCRIBE %s RTSP/1.0\r\nCSeq: 1\r\n\r\n' "$url$1" >&3
    read -r -t 60 _ status _ <&3
    exec 3>&-
    echo "$status"
}
change() {  # NUMBER JSON
    curl -sf -m 60 -o "$folder/change.out" -X PUT -H 'Content-Type: application/json' -d "$2" \
        "${page}api/channels/$1" || fail "no change to $2"
}
start
old=pulse%20%28input%29
ffmpeg -v error -rtsp_transport tcp -i "$url$old" -c:a copy -flush_packets 1 -f mulaw \
    "$folder/named.ul" 2>"$folder/named.err" &
named=$!
await "sound by a name" test -s "$folder/named.ul"
while read -r path name; do
    change 0 "{\"name\": \"$name\"}"
    [ "$(describe "$path") $(describe "$old")" = "200 404" ] ||
        fail "'$name' is at $path $(describe "$path"), at $old $(describe "$old")"
    old=$path
done <<'END'
Front%20door Front door
2%2Fstream%3D0 2/stream=0
50%25%3F 50%?
%54%C3%BCr Tür
-/ -
7 7
END
size=$(stat -c %s "$folder/named.ul")
await "sound after the renames" eval '[ $(stat -c %s "$folder/named.ul") -gt $((size + 8000)) ]'
change 2 '{"enabled": false}'
change 0 '{"name": "2"}'
[ "$(describe 2)" = 503 ] || fail "a name hides a number"
change 0 '{"name": "same"}'
change 2 '{"name": "same"}'
[ "$(describe same)" = 200 ] || fail "the second input is meant"
[ "$(describe same%00)$(describe %zz)$(describe "")" = 404404404 ] || fail "a wrong path leads to an input"
change 0 '{"name": "pulse (input)"}'
change 2 '{"name": "default (input)", "enabled": true}'
stop
wait "$named" || true

# Two clients listen, one reads nothing, one talks, and strangers send packets.
start
for transport in tcp udp; do
    ffmpeg -v error -rtsp_transport $transport -i "${url}0" -c:a copy -flush_packets 1 -f mulaw \
        "$folder/$transport.ul" 2>"$folder/$transport.err" &
    [ $transport = udp ] || first=$!
    await "sound by $transport" test -s "$folder/$transport.ul"
done
/usr/bin/python3 "$clients" stall "${url}0" >"$folder/stall.out" 2>"$folder/stall.err" &
await "a client who stalls" grep -qs stalls "$folder/stall.out"
rule strangers &
strangers=$!
/usr/bin/python3 "$clients" talk "${url}0" 20 700 2>"$folder/talk.err" &
talker=$!
await "somebody who talks" eval 'curl -s "${page}api/channels" | grep -q \"talking\"'
# Each document closes the streams of disabled outputs.
await "his output enabled" eval 'curl -s "${page}api/channels/1" | grep -q "\"enabled\":true"'
! /usr/bin/python3 "$clients" talk "${url}0" 30 1900 2>"$folder/second.err" || fail "a second one talks"
grep -q "503.*Service Unavailable" "$folder/second.err" || fail "a second one is not told"
wait "$talker" || fail "no talk"
(rule oddities 4 1900 2300) || fail "no sound by UDP"
wait "$strangers" || fail "strangers send nothing to a talker"
for wanted in silent "reports $server" refused backchannels header crowd; do
    (rule $wanted) || fail "not obeyed: $wanted"
done
size=$(stat -c %s "$folder/tcp.ul")
await "more sound" eval '[ $(stat -c %s "$folder/tcp.ul") -gt $((size + 40000)) ]'
stop
grep -q 'Number="1" Enabled="0"' "$folder/settings/tamborin.xml" || fail "the output stays enabled"
wait "$first" || true  # it may miss the server's good-bye
[ -e "$folder/media.log" ] && ! grep "got error" "$folder/media.log" || fail "a medium fails"

# The first client must have got all frames, except those on their way at the end.
frames=$(sed -n 's/^captured: channel 0, \([0-9]*\) frames.*/\1/p' "$folder/server.out")
got=$(($(stat -c %s "$folder/tcp.ul") / 2048))
((got <= frames && got >= frames - 8)) || fail "$got frames of $frames"
for transport in tcp udp; do
    # A busy machine loses some of the 20 s and twice 4 s.
    heard "$folder/$transport.ul" 700 8
    heard "$folder/$transport.ul" 1900 3
    heard "$folder/$transport.ul" 2300 3
    # The strangers' packets are 160 codes of 0x80.
    ! perl -0777 -ne 'exit !/\x80{100}/' "$folder/$transport.ul" || fail "a stranger is heard by $transport"
done

# The server ends although clients come and go.
start --stop-idle-inputs
(rule idle) || fail "not obeyed: idle"
rule storm &
await "a storm of clients" grep -qs storms "$folder/storm.out"
stop
