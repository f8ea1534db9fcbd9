# Completion of rc, nvram and rcplan for bash. Generated: tools/renew.sh writes this file.
# shellcheck shell=bash

# The words behind rc, and the actions behind those that have any.
_rc_names='
    lan printk wlan syslogd httpd dhcpd ntp route ripd upnp wan_basic firewall igmp schedule ddns
    service wan init start stop restart create
'
declare -gA _rc_actions=(
    ['ddns']='start restart'
    ['dhcpd']='start stop restart create'
    ['firewall']='start stop restart create'
    ['httpd']='start stop restart create'
    ['igmp']='start stop restart'
    ['lan']='start restart'
    ['ntp']='start stop restart'
    ['printk']='start stop restart'
    ['ripd']='start stop restart create'
    ['route']='start stop restart'
    ['schedule']='start restart create'
    ['service']='start stop restart create'
    ['syslogd']='start stop restart create'
    ['upnp']='start stop restart'
    ['wan']='start stop restart'
    ['wan_basic']='start stop restart'
    ['wlan']='start stop restart create'
)

# The settings, and the values of those that have few.
_rc_keys='
    ap_mode wan_fix_dns wan_dod ddns_enable lan_ipaddr dhcp_start_ip rt_rip_version http_username
    log_enable igmp_enable time_daylight fw_nat fw_dmz_enable fw_block_trust_enable qos_enable
    wifi_ssid wds_enable sta_ssid
'
declare -gA _rc_values=(
    ['ap_mode']='0 1'
    ['ddns_enable']='0 1'
    ['fw_block_trust_enable']='0 1'
    ['fw_dmz_enable']='0 1'
    ['fw_nat']='0 1'
    ['igmp_enable']='0 1'
    ['log_enable']='0 1'
    ['qos_enable']='0 1'
    ['rt_rip_version']='1 2'
    ['time_daylight']='0 1'
    ['wan_dod']='0 1'
    ['wan_fix_dns']='0 1'
    ['wds_enable']='0 1'
)

# Verbs by program; options by program, and by program and verb.
declare -gA _rc_verbs=(
    ['nvram']='get set unset show commit load default export import diff check describe keys'
    ['rcplan']=''
)
declare -gA _rc_options=(
    ['nvram']='--root --help --version'
    ['nvram check']='--json'
    ['nvram diff']='--show-secrets'
    ['nvram import']='--replace'
    ['nvram show']='--show-secrets'
)

# What follows an option, or a verb.
declare -gA _rc_kinds=(
    ['--root']='folder'
    ['nvram check']='place'
    ['nvram describe']='key'
    ['nvram diff']='place'
    ['nvram export']='file'
    ['nvram get']='key'
    ['nvram import']='file'
    ['nvram keys']='key'
    ['nvram set']='assignment'
    ['nvram show']='key'
    ['nvram unset']='key'
)

# Offers the words of a list that begin with what has been typed, each with a suffix.
#   _rc_offer TYPED LIST [SUFFIX]
_rc_offer() {
    local words word
    read -rd '' -a words <<< "$2"
    for word in "${words[@]}"; do
        if [[ $word == "$1"* ]]; then COMPREPLY+=("$word${3-}"); fi
    done
}

# A key with its value. Where '=' parts words, only what stands behind it is replaced.
_rc_assignment() {
    local key=${1%%=*} before=''
    if [[ $1 != *=* ]]; then
        _rc_offer "$1" "$_rc_keys" =
        compopt -o nospace 2> /dev/null
    elif [[ -n $key && -n ${_rc_values[$key]-} ]]; then
        _rc_offer "${1#*=}" "${_rc_values[$key]}"
        [[ $COMP_WORDBREAKS == *=* ]] || before=$key=
        COMPREPLY=("${COMPREPLY[@]/#/"$before"}")
    fi
}

# What stands behind rc.
_rc_action() {
    case $# in
    1) _rc_offer "$1" "$_rc_names" ;;
    2) _rc_offer "$2" "${_rc_actions[$1]-}" ;;
    esac
}

# A word of a kind. The names of files are left to readline, which knows how to quote them.
#   _rc_of_kind KIND TYPED
_rc_of_kind() {
    case $1 in
    key) _rc_offer "$2" "$_rc_keys" ;;
    assignment) _rc_assignment "$2" ;;
    action) _rc_action "$2" ;;
    'words '*) _rc_offer "$2" "${1#words }" ;;
    folder) compopt -o dirnames 2> /dev/null ;;
    file) compopt -o default 2> /dev/null ;;
    place)
        _rc_offer "$2" '@working @factory @flash'
        compopt -o default 2> /dev/null
        ;;
    esac
}

# A program with verbs: its name and all words up to the cursor.
_rc_program() {
    local program=$1 verb='' kind='' options_end='' word
    shift
    while (($# > 1)); do
        word=$1
        shift
        if [[ -z $options_end && $word == -- ]]; then
            options_end=1
        elif [[ -z $options_end && $word == -* ]]; then
            [[ -n ${_rc_kinds[$word]+set} ]] || continue
            if (($# == 1)); then
                _rc_of_kind "${_rc_kinds[$word]}" "$1"
                return
            fi
            shift
        elif [[ -z $verb ]]; then
            verb=$word
            kind=${_rc_kinds[$program $verb]-}
        elif [[ $kind == action ]]; then
            _rc_action "$word" "$@"
            return
        fi
    done
    if [[ -z $options_end && $1 == -* ]]; then
        _rc_offer "$1" "${_rc_options[$program]-} ${_rc_options[$program $verb]-}"
    elif [[ -z $verb ]]; then
        _rc_offer "$1" "${_rc_verbs[$program]-}"
    else
        _rc_of_kind "$kind" "$1"
    fi
}

_rc_complete() {
    local line=${COMP_LINE:0:COMP_POINT} words
    read -ra words <<< "$line"
    if [[ $line == *[[:space:]] ]]; then words+=(''); fi
    COMPREPLY=()
    case ${1##*/} in
    rc) _rc_action "${words[@]:1}" ;;
    *) _rc_program "${1##*/}" "${words[@]:1}" ;;
    esac
}

complete -F _rc_complete rc nvram rcplan
