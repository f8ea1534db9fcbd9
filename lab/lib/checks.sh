# Steps and checks of a scenario: what is printed, and what is counted.
# shellcheck shell=bash

checks=0
failures=0

step() {
    printf '\n== %s\n' "$*"
}

passed() {
    checks=$((checks + 1))
    printf '  ok    %s\n' "$*"
}

failed() {
    checks=$((checks + 1))
    failures=$((failures + 1))
    printf '  FAIL  %s\n' "$*"
}

# same WHAT WANTED SEEN
same() {
    if [ "$2" = "$3" ]; then
        passed "$1: $3"
    else
        failed "$1: wanted \"$2\", saw \"$3\""
    fi
}

# like WHAT PATTERN SEEN: a shell pattern.
like() {
    # shellcheck disable=SC2053  # The right side is a pattern on purpose.
    if [[ $3 == $2 ]]; then
        passed "$1: $3"
    else
        failed "$1: wanted \"$2\", saw \"$3\""
    fi
}

# in_pool WHAT FIRST LAST SEEN: addresses of one network of 256.
in_pool() {
    local last=${4##*.}
    if [ "${4%.*}" = "${2%.*}" ] && [ "$last" -ge "${2##*.}" ] && [ "$last" -le "${3##*.}" ]; then
        passed "$1: $4"
    else
        failed "$1: wanted one of $2 to $3, saw \"$4\""
    fi
}

# comes_within SECONDS WHAT COMMAND...: the command succeeds before the time is up. Daemons are started in the
# background, so a check that follows at once would race with them.
comes_within() {
    local seconds=$1 what=$2 tries=0
    shift 2
    until "$@" >/dev/null 2>&1; do
        tries=$((tries + 1))
        if [ "$tries" -ge $((seconds * 20)) ]; then
            failed "$what: not within $seconds s"
            return 1
        fi
        sleep 0.05
    done
    passed "$what"
}

comes() {
    comes_within 5 "$@"
}

# For the end of a step that all others build on: without it, they would only wait for what cannot come.
must_hold() {
    if [ "$failures" -gt 0 ]; then
        printf '\nThe other steps need this one, so the scenario ends here.\n'
        exit 1
    fi
}
