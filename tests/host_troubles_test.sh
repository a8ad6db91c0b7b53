#!/usr/bin/env bash
# tamborin-host when what is around it goes wrong while it runs.
#   host_troubles_test.sh HOST PRIVATE-PULSEAUDIO
set -euo pipefail
[ $# -eq 1 ] || exec "$2" "$0" "$1"
host=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
fail() { echo "FAILED: $*" >&2; exit 1; }

# Whoever reads the messages dies: the recording is what counts.
"$host" record --input 0 --for 1 --log-level detail --out unheard 2> >(exit) >out ||
    fail "without a logger: $(cat out)"

# A file that reaches its limit is a failed write.
status=0
(ulimit -f 8 && exec "$host" record --input 0 --for 20 --out limited 2>err >out) || status=$?
if [ $status -ne 1 ] || ! grep -q "^tamborin-host: cannot write .*wav: File too large" err; then
    fail "at the limit of a file: exit status $status: $(cat out err)"
fi

# A terminal that is gone ends a view of it, also without SIGHUP.
script -qec 'tty >tty; exec sleep 600' /dev/null </dev/null >/dev/null 2>&1 & terminal=$!
until [ -s tty ]; do sleep 0.1; done
TERM=xterm timeout 60 "$host" watch <"$(cat tty)" >"$(cat tty)" 2>err & watch=$!
until grep -qs 'Channel.* Enabled="1"' tamborin.xml; do sleep 0.1; done
kill $terminal
wait $watch || fail "watch without its terminal: exit status $?: $(cat err)"
! grep 'Channel.* Enabled="1"' tamborin.xml || fail "watch has left an input enabled"
