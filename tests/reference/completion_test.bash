#!/bin/bash
# The completion in a real bash: the words that it offers after the typed text.
#   completion_test.bash COMPLETION NVRAM RCPLAN
set -u
completion=$(realpath "$1")
nvram=$(realpath "$2")
rcplan=$(realpath "$3")
failures=0

# Records which of readline's completions the function requests.
compopt() { asked="${asked:+$asked }$2"; }

# Within a function, as in a shell that loads completions on demand.
# shellcheck source=completion/rc.bash
load() { . "$completion"; }
load

# offered LINE: completes at the end of the line, as bash would call it.
offered() {
    local part
    COMP_LINE=$1
    COMP_POINT=${#1}
    COMP_WORDS=()
    for part in ${1//=/ = }; do COMP_WORDS+=("$part"); done
    [[ $1 == *' ' ]] && COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=(left over)
    asked=''
    "$(complete -p "${1%% *}" | sed 's/.*-F \([^ ]*\).*/\1/')" "${1%% *}" '' ''
    reply=${COMPREPLY[*]}
}

sorted() { printf '%s' "$1" | tr ' ' '\n' | sort; }

# expect LINE WORDS [ASKED]: these words in any order, since readline sorts them, and no others.
expect() {
    offered "$1"
    [[ $(sorted "$reply") == "$(sorted "$2")" && $asked == "${3-}" ]] && return
    printf "behind '%s'\n  expected: %s (%s)\n  offered:  %s (%s)\n" "$1" "$2" "${3-}" "$reply" "$asked"
    failures=$((failures + 1))
}

# expect_all LINE WORDS...: these words are among the offered ones.
expect_all() {
    local word
    offered "$1"
    shift
    for word in "$@"; do
        [[ " $reply " == *" $word "* ]] && continue
        printf "behind '%s': '%s' is not offered\n" "$COMP_LINE" "$word"
        failures=$((failures + 1))
    done
}

for program in rc nvram rcplan; do
    complete -p "$program" > /dev/null || exit 1
done

# rc: names, and only the actions that have a handler.
expect 'rc ' 'lan printk wlan syslogd httpd dhcpd ntp route ripd upnp wan_basic firewall igmp schedule ddns service wan init start stop restart create'
expect 'rc d' 'dhcpd ddns'
expect 'rc wan' 'wan_basic wan'
expect 'rc dhcpd ' 'start stop restart create'
expect 'rc dhcpd st' 'start stop'
expect 'rc lan ' 'start restart'
expect 'rc printk c' ''
expect 'rc schedule ' 'start restart create'
expect 'rc ddns s' 'start'
expect 'rc wan ' 'start stop restart'
expect 'rc service c' 'create'
expect 'rc init ' ''
expect 'rc start ' ''
expect 'rc nonsense ' ''
expect 'rc dhcpd start ' ''
expect 'rc dhcpd start x' ''

# nvram: verbs, options, keys.
expect 'nvram ' 'get set unset show commit load default export import diff previous apply try confirm undo trial generations bundle mask check describe keys'
expect 'nvram d' 'default diff describe'
expect 'nvram --' '--root --help --version'
expect 'nvram get wan_mo' 'wan_mode'
expect 'nvram get wan_d' 'wan_dns1 wan_dns2 wan_dns3 wan_domain wan_dod'
expect 'nvram unset lan_ip' 'lan_ipaddr'
expect 'nvram describe http_t' 'http_timeout'
expect 'nvram keys http_t' 'http_timeout'
expect 'nvram show http_t' 'http_timeout'
expect 'nvram show --' '--root --help --version --json --show-secrets'
expect 'nvram show --show-secrets http_t' 'http_timeout'
expect 'nvram import --r' '--root --replace'
expect 'nvram check --j' '--json'
expect 'nvram diff @' '@working @factory @flash @previous' default
expect 'nvram diff @factory @f' '@factory @flash' default
expect 'nvram diff my' '' default
expect 'nvram export ' '' default
expect 'nvram --root ' '' dirnames
expect 'nvram --root get get http_t' 'http_timeout'
expect 'nvram commit ' ''
expect 'nvram get -- http_t' 'http_timeout'
expect 'nvram get -- --' ''

# KEY=VALUE: a key is followed by '=' without a blank; a value is offered without the key.
expect 'nvram set http_t' 'http_timeout=' nospace
expect 'nvram set wan_mode=' 'dhcpc ip pppoe pptp l2tp bpa ras'
expect 'nvram set wan_mode=pp' 'pppoe pptp'
expect 'nvram set wan_mode=x' ''
expect 'nvram set fw_nat=' '0 1'
expect 'nvram set lan_ipaddr=' ''
expect 'nvram set lan_ipaddr=1' ''
expect 'nvram set nonsense=' ''
expect 'nvram set =' ''
expect 'nvram set wan_mode=ip fw_n' 'fw_nat=' nospace
expect 'nvram set wan_mode=ip fw_nat=' '0 1'
expect 'nvram set wifi_region=S' 'South\ America'
expect 'nvram set fw_time_zone=+12' '+12a +12\ 2'
breaks=$COMP_WORDBREAKS
COMP_WORDBREAKS=${COMP_WORDBREAKS//=/}
expect 'nvram set wan_mode=pp' 'wan_mode=pppoe wan_mode=pptp'
expect 'nvram set http_t' 'http_timeout=' nospace
COMP_WORDBREAKS=$breaks

# Each verb's options are those that nvram takes: it says which ones a verb does not take, if the number of words is right.
takes() {
    local words said
    for words in '' a 'a b'; do
        # shellcheck disable=SC2086  # Words.
        said=$(cd "$folder" && "$nvram" --root "$folder" "$1" ${2/=/ } $words < /dev/null 2>&1 > /dev/null)
        case $said in
        *'missing argument'* | *'too many arguments'*) ;;
        *'does not take'*) return 1 ;;
        *'unknown option'*) echo "nvram knows no $2" && failures=$((failures + 1)) && return 1 ;;
        *) return 0 ;;
        esac
    done
    return 0
}
folder=$(mktemp -d)
for verb in ${_rc_verbs[nvram]}; do
    for option in --show-secrets --replace --json --check --previous --dry-run --force --commit --shapes --end --files \
        --seconds=20 --probe=true; do
        taken=no completed=no
        ! takes "$verb" "$option" || taken=yes
        [[ " ${_rc_options[nvram $verb]-} " != *" ${option%=*} "* ]] || completed=yes
        [ $taken = $completed ] && continue
        echo "nvram $verb ${option%=*}: nvram takes it: $taken, the completion offers it: $completed"
        failures=$((failures + 1))
    done
done
rm -r "$folder"

# rcplan: commands, options and their arguments, and the words of rc.
expect_all 'rcplan ' run diff sinks report packet check
expect_all 'rcplan run --' --settings --set --world --why --json --case --files --show-secrets --color --help
expect 'rcplan run --settings ' '' default
expect 'rcplan run --files ' '' dirnames
expect 'rcplan run --color a' 'auto always'
expect 'rcplan run --set wan_mode=pp' 'pppoe pptp'
expect 'rcplan run --set wan_mode=ip --set fw_n' 'fw_nat=' nospace
expect 'rcplan run --set wan_mode=ip dh' 'dhcpd'
expect 'rcplan run --set wan_mode=ip -- dh' 'dhcpd'
expect 'rcplan run --why dhcpd c' 'create'
expect 'rcplan run --case dhcpd c' 'create'
expect 'rcplan run dhcpd create ' ''
expect 'rcplan sinks --case ' '' default
expect 'rcplan sinks --table u' 'uses'
expect 'rcplan sinks http_t' 'http_timeout'
expect 'rcplan diff ' '' default
expect 'rcplan diff one ' '' default
expect 'rcplan diff one two ht' 'httpd'
expect 'rcplan diff --json one two httpd c' 'create'
expect 'rcplan report ' '' default
expect 'rcplan report page.html wa' 'wan wan_basic'
expect 'rcplan packet --set fw_na' 'fw_nat=' nospace
expect 'rcplan packet --proto ' 'tcp udp icmp'
expect 'rcplan packet --state e' 'established'
expect 'rcplan packet --in br0 --proto udp wan sta' 'start'
expect 'rcplan check --u' '--update'
expect 'rcplan check tests' '' default

# Typed text is never run or expanded.
cd "$(mktemp -d)" || exit 2
trap 'rm -r "$PWD"' EXIT
touch lan_file
# shellcheck disable=SC2016 # the lines are to stay as they are
for line in 'rc $(touch ran)' 'rc `touch ran` ' 'nvram set $(touch${IFS}ran)=' 'nvram set a[$(touch${IFS}ran)]=' \
    'rc $(touch${IFS}ran) s' 'rcplan run --set x[`touch${IFS}ran`]=1' 'nvram get ;touch ran' 'nvram $(touch${IFS}ran) g'; do
    offered "$line"
    [[ -e ran ]] || continue
    echo "run: $line"
    failures=$((failures + 1))
    rm ran
done
expect 'nvram get l*' ''

# The verbs and options of nvram are those that its help names. A build without the table of settings
# lacks the last three.
verbs=$("$nvram" --help | sed -n 's/^  \([a-z][a-z]*\) .*/\1/p')
[[ -n $verbs ]] || { echo 'no verbs in the help of nvram'; failures=$((failures + 1)); }
expect 'nvram ' "$(printf '%s\n' "$verbs" check describe keys | sort -u | tr '\n' ' ' | sed 's/ $//')"
for option in $("$nvram" --help | grep -o -- '--[a-z][a-z-]*' | sort -u); do
    found=''
    for verb in '' $verbs; do
        offered "nvram ${verb:+$verb }--"
        [[ " $reply " == *" $option "* ]] && found=1
    done
    [[ -n $found ]] && continue
    echo "nvram's option $option is not offered"
    failures=$((failures + 1))
done

# The same for rcplan, in which every command has its own help.
offered 'rcplan '
for verb in "${COMPREPLY[@]}"; do
    "$rcplan" "$verb" --help > /dev/null || { echo "rcplan has no $verb"; failures=$((failures + 1)); }
    mapfile -t named < <("$rcplan" "$verb" --help | sed -n 's/^  *\(-[a-z],\)\{0,1\}\(--[a-z][a-z-]*\).*/\2/p')
    expect_all "rcplan $verb --" "${named[@]}"
done

((failures == 0)) || exit 1
echo 'ok: completion'
