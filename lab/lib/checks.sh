# Steps and checks of a scenario: what is printed, and what is counted.
# shellcheck shell=bash

checks=0
failures=0

# What all checks of the step are shown by, besides what is noted for each.
step_how=

step() {
    step_how=
    printf '\n== %s\n' "$*"
}

# with HOW [CHECK...]: notes a word for the next check, which is run if it is given: "real packets", "adapter NAME" or
# "stub NAME". The notes are a file, since most questions are asked in a subshell.
with() {
    echo "$1" >> "$world/how"
    shift
    [ $# -eq 0 ] || "$@"
}

# how_of PATH: the word for a program on the router, which the second line of each script in lab/adapters begins with.
# A program that is itself has none.
how_of() {
    local how
    how=$(sed -nE '2{ s/^# Lab (adapter|stub).*/\1/p; q; }' "$root$1" 2>/dev/null | tr -d '\0')
    [ -z "$how" ] || echo "$how ${1##*/}"
}

# via PROGRAM [CHECK...]: the next check depends on that program of the router, whatever stands there.
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

# for_step [HOW]: the rest of the step is shown by that; without HOW, by nothing besides the notes.
for_step() {
    step_how=${1-}
}

# The notes since the last check, in brackets; a check without any was of rc itself, its files or the kernel.
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

# in_pool WHAT FIRST LAST SEEN: addresses of one network of 256.
in_pool() {
    local last=${4##*.}
    if [ "${4%.*}" = "${2%.*}" ] && [ "$last" -ge "${2##*.}" ] && [ "$last" -le "${3##*.}" ]; then
        passed "$1: $4"
    else
        failed "$1: expected one of $2 to $3, saw \"$4\""
    fi
}

# comes WHAT COMMAND...: waits until the command succeeds. Daemons are started in the background, so a check that
# follows at once would race with them. What has not come at the limit never will, so the scenario ends there.
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

# For the end of a step that all others need: without it, they would only wait for what cannot come.
must_hold() {
    [ "$failures" -eq 0 ] || end_here
}
