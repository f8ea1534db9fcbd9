# Schedules and summer time, with the machine's clock and a cron that reads what rc has written.
# shellcheck shell=bash

separator=$'\x01'

keyword_rules() {
    rules filter HTTP '--string' | wc -l
}

# set_clock DATE TIME: in UTC, the router's time zone.
set_clock() {
    printf '(the clock is set to %s %s)\n' "$1" "$2"
    date -u -s "$1 $2" > /dev/null
}

# start_cron_before DATE TIME EDGE: sets the clock to shortly before the edge and starts cron. If cron reads the clock only
# after the edge, it skips that minute's jobs; if the machine was too slow for that, this tries again.
start_cron_before() {
    while :; do
        set_clock "$1" "$2"
        router /usr/lab/cron_start 9>&- 2>/dev/null &
        disown
        comes "cron has read its tables" on_router /var/lab/cron_is_ready
        [[ $(date -u +%H:%M) < $3 ]] && return
        stop_cron
    done
}

stop_cron() {
    router killall cron
    comes "cron has ended" not_running cron
}

# edge_is_past OPEN RULES: the command that cron has run has read the clock and has ended.
edge_is_past() {
    [ "$(cat "$root/tmp/cron_schedule")" = "$1" ] && [ "$(keyword_rules)" = "$2" ] && services_are_up
}

step "The crontab"
same "/var/crontab" "DAYLIGHT=1; TZ=GMT-0; ; 0 12 * * * root /usr/sbin/rc ddns start; \
30 12 * * * root /usr/sbin/rc ntp restart; 30 12 * * 6 root /usr/sbin/rc firewall start; \
0 13 * * 6 root /usr/sbin/rc firewall start; 30 1 * * 0 root /usr/sbin/rc firewall start; \
30 2 * * 0 root /usr/sbin/rc firewall start" "$(lines_of /var/crontab)"
same "before the period: /tmp/cron_schedule, and rules for keywords" "0 0" \
    "$(cat "$root/tmp/cron_schedule") $(keyword_rules)"
reaches "a page with the keyword" shop "$wan" pc1 "http://$shop/cgi-bin/casino"

step "Saturday, 12:30: cron opens the period"
for_step "adapter cron_start"
start_cron_before 2025-03-29 12:29:45 12:30
comes "rc firewall start has run: the rule for the keyword is there" edge_is_past 1 1
fails "a page with the keyword" "cut off" pc1 "http://$shop/cgi-bin/casino"
reaches "a page without" shop "$wan" pc1 "http://$shop/cgi-bin/who"
stop_cron

step "Saturday, 13:00: cron closes it"
for_step "adapter cron_start"
start_cron_before 2025-03-29 12:59:45 13:00
comes "rc firewall start has run: the rule is gone" edge_is_past 0 0
reaches "a page with the keyword" shop "$wan" pc1 "http://$shop/cgi-bin/casino"
stop_cron

# at DATE TIME WANTED: whether the schedule is open in that minute. If the minute ended before rc did, this tries again. It
# skips the minute's first second, because summer time includes the first second after its end.
at() {
    until
        set_clock "$1" "$2:01"
        router rc schedule start > "$world/schedule" 2>&1
        [ "$(date -u +%H:%M)" = "$2" ]
    do :; done
    same "the period from 1:30 to 2:30 on Sunday is open" "$3" "$(cat "$root/tmp/cron_schedule")"
}

step "The night in which summer begins in London: at 1:00 it is 2:00"
at 2025-03-30 00:59 0
at 2025-03-30 01:00 1
at 2025-03-30 01:29 1
at 2025-03-30 01:30 0
console nvram set time_daylight=0
at 2025-03-30 01:29 0
at 2025-03-30 01:30 1

step "The night in which summer ends: at 2:00 of summer time it is 1:00"
console nvram set time_daylight=1
at 2025-10-26 01:59 0
at 2025-10-26 02:00 1
console nvram set time_daylight=0
console nvram set fw_block=0
