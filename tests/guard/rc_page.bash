#!/bin/bash
# Fails if rc(8) does not mention an application, one of its actions, a file named in the sources, or an environment
# variable that they set.
#   rc_page.bash SOURCE_DIR
cd "$1" || exit 2
page=docs/man/rc.8
failures=0
wanted() {
    grep -qE -- "$1" "$page" && return
    echo "not in $page: $1"
    failures=$((failures + 1))
}
code() { sed 's|//.*||' src/{core,rc,lan,wan,sched,firewall,wireless}/*.cc; }

# The completion contains the applications and their actions from the tables.
# shellcheck source=completion/rc.bash
. completion/rc.bash
applications=0
for name in "${!_rc_actions[@]}"; do
    actions=${_rc_actions[$name]// / \\| }
    case $name in
    service | wan) wanted "^\\.Cm $name$" ;;
    *) wanted "^\\.It Cm $name $actions$" ;;
    esac
    applications=$((applications + 1))
done

# Files that no action of rc uses: the trace to the console, and the board's helpers.
unreached='^(/dev/console|/dev/flash0|/proc/ticfg/env|/etc/RT2880_eeprom_v1_0.bin|/dev/null)$'
# Composed names: with the connection's interface, and with the application's name.
paths=$(code | grep -ohE '(/tmp|/var|/etc|/dev|/proc)/[A-Za-z0-9_./%-]*[A-Za-z0-9_]' |
    sed -e 's|/conf/%s/|/conf/IF/|' -e 's|/rc\.%s\.run|/rc.NAME.run|' | grep -vE "$unreached" | sort -u)
for path in $paths; do wanted "(^| )${path//./\\.}( |\$)"; done

variables=$(code | sed -n 's/.*set_environment("\([A-Z]*\)".*/\1/p' | sort -u)
for variable in $variables; do wanted "^\\.It Ev $variable\$"; done

found="$applications applications, $(echo "$paths" | wc -l) paths, $(echo "$variables" | wc -l) variables"
if ((applications < 17 || $(echo "$paths" | wc -l) < 50 || $(echo "$variables" | wc -l) < 3)); then
    echo "too few found: $found"
    exit 2
fi
((failures == 0)) || exit 1
echo "ok: $found, all in $page"
