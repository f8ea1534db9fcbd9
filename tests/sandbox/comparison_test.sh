#!/bin/sh
# sealed_play distinguishes wrong transcripts from correct ones. Arguments: a correct case with a nested run, then
# sealed_play with its options; its rc is the probe.
set -u
right=$1
shift

scratch=$(mktemp -d) || exit 1
trap 'rm -rf "$scratch"' EXIT
failures=0

# plays WHAT STATUS TEXT PLAYER...: the scratch case ends with the status, and the output contains the text.
plays() {
    what=$1
    wanted=$2
    text=$3
    shift 3
    "$@" "$scratch/tried.case" > "$scratch/output" 2>&1
    status=$?
    if [ "$status" -eq 77 ]; then
        cat "$scratch/output"
        exit 77
    fi
    if [ "$status" -eq "$wanted" ] && grep -qF -e "$text" "$scratch/output"; then
        echo "ok    $what"
        return
    fi
    echo "FAIL  $what: status $status, wanted $wanted and '$text'"
    cat "$scratch/output"
    failures=$((failures + 1))
}

# differs WHAT EDIT TEXT PLAYER...: the correct case, edited with sed, no longer passes.
differs() {
    what=$1
    sed "$2" "$right" > "$scratch/tried.case"
    if cmp -s "$right" "$scratch/tried.case"; then
        echo "FAIL  $what: the edit changes nothing"
        failures=$((failures + 1))
        return
    fi
    text=$3
    shift 3
    plays "$what" 1 "$text" "$@"
}

cp "$right" "$scratch/tried.case"
plays "the correct case passes" 0 "ok  " "$@"

differs "another exit status" 's/^exit   0/exit   1/' "- exit   1" "$@"
differs "a command too many" '/^run .*inner/d' "+ run    /usr/sbin/rc number inner" "$@"
differs "another order" '/^signal/{h;d;};/^begin/G' "- begin  outer" "$@"
differs "another process id" 's/^signal 15 to 507/signal 15 to 508/' "+ signal 15 to 507" "$@"
differs "a nested run's output as the outer one's" 's/^    print  inner/print  inner/' "+     print  inner" "$@"
differs "output that would end its line" 's/^begin  outer/print  outer/' "+ begin  outer" "$@"

printf '%s\n' '# a crash' 'command  rc crash' expect 'exit   134' > "$scratch/tried.case"
plays "a crash is no exit" 1 "+ killed by signal" "$@"

printf '%s\n' '# a hang' 'command  rc hang' expect 'exit   0' > "$scratch/tried.case"
plays "a hung run is ended" 1 "+ killed after the deadline" "$@" --deadline 1

printf '%s\n' '# no transcript' 'command  rc status' > "$scratch/tried.case"
plays "a broken case is no difference" 2 "there is no line 'expect'" "$@"

[ "$failures" -eq 0 ]
