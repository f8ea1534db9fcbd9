# Steps and checks of a scenario: what is printed, and what is counted.
# shellcheck shell=bash

checks=0
failures=0

# What all checks of the step rely on, besides the notes of each check.
step_how=

step() {
    step_how=
    printf '\n== %s\n' "$*"
}

# with HOW [CHECK...]: notes a word for the next check, which is run if it is given: "real packets", "adapter NAME" or
# "stub NAME". The notes are in a file, because most checks run in a subshell.
with() {
    echo "$1" >> "$world/how"
    shift
    [ $# -eq 0 ] || "$@"
}

# how_of PATH: "adapter NAME" or "stub NAME" for a program on the router, from the second line of the scripts in
# lab/adapters; empty for a real program.
how_of() {
    local how
    how=$(sed -nE '2{ s/^# Lab (adapter|stub).*/\1/p; q; }' "$root$1" 2>/dev/null | tr -d '\0')
    [ -z "$how" ] || echo "$how ${1##*/}"
}

# via PROGRAM [CHECK...]: the next check depends on that program of the router, which may be real, an adapter or a stub.
via() {
    local folder
    for folder in /usr/sbin /usr/bin /sbin /bin; do
        [ -e "$root$folder/$1" ] || continue
        how_of "$folder/$1" >> "$world/how"
        break
    done
    shift
    [ $# -eq 0 ] || "$@"
}

# for_step [HOW]: all further checks of the step also rely on HOW; without HOW, only on their notes.
for_step() {
    step_how=${1-}
}

# The notes since the last check, in brackets. A check without notes tests rc itself, its files or the kernel.
how_shown() {
    local notes
    notes=$({ cat "$world/how" 2>/dev/null; echo "${step_how//, /$'\n'}"; } | sort -u | awk '
        NF { printf "%s%s", (found++ ? ", " : "["), $0 }
        END { if (found) printf "] " }')
    rm -f "$world/how"
    printf '%s' "$notes"
}

passed() {
    checks=$((checks + 1))
    printf '  ok    %s%s\n' "$(how_shown)" "$*"
}

failed() {
    checks=$((checks + 1))
    failures=$((failures + 1))
    printf '  FAIL  %s%s\n' "$(how_shown)" "$*"
}

# same WHAT WANTED SEEN
same() {
    if [ "$2" = "$3" ]; then
        passed "$1: $3"
    else
        failed "$1: expected \"$2\", saw \"$3\""
    fi
}

# like WHAT PATTERN SEEN: a shell pattern.
like() {
    # shellcheck disable=SC2053  # The right side is a pattern on purpose.
    if [[ $3 == $2 ]]; then
        passed "$1: $3"
    else
        failed "$1: expected \"$2\", saw \"$3\""
    fi
}

# in_pool WHAT FIRST LAST SEEN: all addresses are in the same /24 network.
in_pool() {
    local last=${4##*.}
    if [ "${4%.*}" = "${2%.*}" ] && [ "$last" -ge "${2##*.}" ] && [ "$last" -le "${3##*.}" ]; then
        passed "$1: $4"
    else
        failed "$1: expected one of $2 to $3, saw \"$4\""
    fi
}

# comes WHAT COMMAND...: waits until the command succeeds. Daemons are started in the background, so an immediate check
# would race with them. At the limit something hangs, so the scenario ends.
comes() {
    local what=$1
    shift
    if wait_until "$@"; then
        passed "$what"
        return
    fi
    failed "$what: still not so after $hang_limit s: it hangs"
    end_here
}

end_here() {
    printf '\nThe scenario ends here, since the later steps need this one.\n'
    exit 1
}

# Ends the scenario if a check has failed, after a step that all later ones need: these would only wait until the limit.
must_hold() {
    [ "$failures" -eq 0 ] || end_here
}
