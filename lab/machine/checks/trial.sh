# A change on trial while the router learns the date: the guard counts the seconds since the boot.
# shellcheck shell=bash

# shellcheck source=lib/trial.sh
. "$lab/lib/trial.sh"

seconds_left() {
    router nvram trial | sed -nE 's/^left: ([0-9]+) s$/\1/p'
}

# still_on_trial: the guard looks every quarter of a second.
still_on_trial() {
    sleep 2
    same "still on trial" "on trial: lan_lease_time" "$(router nvram trial | head -n 1)"
    at_least "seconds left" 1 "$(seconds_left)"
    at_least "seconds begun, of 3600" 0 $((3600 - $(seconds_left)))
}

step "A change is on trial while the date is set ten years ahead, and twenty back"
change "try --seconds 3600" lan_lease_time=2
set_clock 2035-03-29 12:00
still_on_trial
set_clock 2015-03-29 12:00
still_on_trial
console nvram undo
same "the setting" 1 "$(setting lan_lease_time)"

step "The date is set back ten years: the trial ends in its time"
set_clock 2025-03-29 12:00
change "try --seconds 20" lan_lease_time=2
set_clock 2015-03-29 12:00
comes "nothing is on trial" nothing_on_trial
same "the setting" 1 "$(setting lan_lease_time)"
console nvram trial
like "the outcome" "*undone: not confirmed in time" "$(said undone)"
set_clock 2025-03-29 12:10
