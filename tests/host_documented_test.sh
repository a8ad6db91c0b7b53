#!/usr/bin/env bash
# The manual and the completion must have exactly the commands and options of --help.
#   host_documented_test.sh HOST
set -euo pipefail
host=$1 share=$(dirname "$0")/../host/share failed=0
. "$share/tamborin-host.bash-completion"

compare() {  # WHAT NAMES-OF-HELP NAMES
    # shellcheck disable=SC2086  # they are words
    diff <(printf '%s\n' $2 | sort -u) <(printf '%s\n' $3 | sort -u) >&2 ||
        { echo "FAILED: --help (<) and $1 (>) differ" >&2 && failed=1; }
}
options_of() { "$host" "$@" --help | grep -oP '^ +(-h,)?\K--[a-z-]+'; }
completed() {  # WORDS..., of which the last is completed
    COMP_WORDS=(tamborin-host "$@") COMP_CWORD=$# COMPREPLY=()
    _tamborin_host
    printf '%s\n' "${COMPREPLY[@]}" | grep -vx -e -h
}
section() { sed -n "/^\.S[sh] $1/,/^\.S[sh]/p" "$share/tamborin-host.1"; }
flags() { grep "^\.$1Fl" | grep -oP ' \K-[a-z-]+' | sed 's/^/-/'; }

commands=$("$host" --help | sed -n '/^Subcommands/,/^$/s/^ *\([a-z]\+\) .*/\1/p')
common=$(options_of)
compare "the manual's commands" "$commands" "$(section Commands | grep -oP '^\.It Cm \K.*')"
compare "the synopsis" "$commands" "$(section SYNOPSIS | grep -oP '^\.Cm \K.*' | tr -d '|')"
compare "the completion's commands" "$commands" "$(completed "")"
compare "the manual's common options" "$common" "$(section "Options of all" | flags "It ")"
compare "the completion's common options" "$common" "$(completed --)"
all=
for command in $commands; do
    own=$(options_of "$command" | grep -vx -e --help || true) all+=" "$own
    synopsis=$(section SYNOPSIS | awk "/^\.Cm/ { is = /(^| )$command( |$)/ } is" | flags "\(Op \)\\?" || true)
    compare "the synopsis of $command" "$own" "$synopsis"
    compare "the completion of $command" "${common/--version/} $own" "$(completed "$command" --)"
done
compare "the manual's further options" "$all" "$(section "Options of some" | flags "It ")"
exit $failed
