# Archives of the router for the host, which looks at them with rcplan inspect: the machine has no workstation's programs.
# shellcheck shell=bash

archives=/share/archives
archive_number=0

no_rules_are_made() {
    at_rest && ! router ps | grep -q '/tmp/rule[s2]'
}

# firewall_once: both the end of `rc wan start` and ip-up restart the services. The later run ends the earlier one, but not
# its scripts, so that on a slow machine rules may be there twice; an archive would tell. This leaves them once.
firewall_once() {
    comes "no script of the firewall's runs" no_rules_are_made
    router rc firewall restart > "$world/output" 2>&1
    comes "nor does another" no_rules_are_made
}

# after_each_restart: an archive after the restart of each application; nothing deviates. after_restarts: one after all.
applications='lan wlan syslogd httpd dhcpd ntp route ripd upnp igmp schedule ddns'
after_each_restart() {
    local application
    for application in $applications; do
        router rc "$application" restart > "$world/output" 2>&1
        archive "after rc $application restart" ""
    done
}
after_restarts() {
    local application
    for application in $applications; do router rc "$application" restart > "$world/output" 2>&1; done
    archive "after the restart of every application" ""
}

# archive WHAT DEVIATIONS: `nvram bundle` writes an archive, and the host compares what rcplan inspect finds in it with the
# headlines ("process pppd; route 198.51.100.90"); empty if the router is as it should be.
archive() {
    local began ended file
    archive_number=$((archive_number + 1))
    file=$archives/$part.$(printf %02d "$archive_number")
    mkdir -p "$archives"
    comes "no run of rc is under way" at_rest
    read -r began _ < /proc/uptime
    router nvram bundle - > "$file.tar.gz" || failed "the archive"
    read -r ended _ < /proc/uptime
    printf '%s\n%s\n' "$1" "$2" > "$file.expected"
    printf '(an archive of the router, made in %s s: %s)\n' \
        "$(awk -v began="$began" -v ended="$ended" 'BEGIN { printf "%.1f", ended - began }')" "$1"
}
