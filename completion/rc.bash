# Completion of rc, nvram and rcplan for bash. Generated: tools/renew.sh writes this file.
# shellcheck shell=bash

# The words after rc, and the actions of each.
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

# The settings, and the values of flags and choices.
_rc_keys='
    ap_mode restore_default upgrade_default wifi_present lan_assign_mac lan_assign_mac_2 assign_mac
    wan_macaddr_default wsc_device_pin wan_mode wan_line wan_phy_ifname ether_wan_ifname wan_ifname
    wan_ifname1 wan_macaddr wan_mtu static_mtu wan_account wan_domain wan_fix_dns wan_dns1 wan_dns2
    wan_dns3 fix_ipaddr fix_netmask fix_gateway pppoe_username pppoe_password pppoe_service
    wan_iptype_pppoe pppoe_ipaddr wan_dod pppoe_idle pptp_username pptp_password pptp_server_type
    pptp_server pptp_server_domain pptp_id pptp_type pptp_ipaddr pptp_fix_netmask pptp_fix_gateway
    pptp_wan_dns1 pptp_dod pptp_idle l2tp_username l2tp_password l2tp_server l2tp_type l2tp_ipaddr
    l2tp_netmask l2tp_mtu l2tp_dod l2tp_idle l2tp_redial bpa_username bpa_password bpa_login
    ras_login ras_dod ddns_enable ddns_service_provider ddns_old_service ddns_user_name
    ddns_password ddns_host_name ddns_use_wildcards lan_if lan_ipaddr lan_netmask lan_bipaddr
    ap_gateway ap_dns dhcp_server_enable dhcp_start_ip dhcp_end_ip lan_lease_time
    dhcp_server_extended_option dhcp_gateway_ip dhcp_dns_ip pcdb_list rt_static_route
    rt_rip_direction rt_rip_version http_username http_password http_timeout http_realm device_name
    log_enable log_type log_remote_ip log_login log_gateway log_dos log_block mail_enable
    mail_server mail_sender mail_recipient mail_title mail_enable_auth mail_login mail_password
    mail_sendlog mail_sh_hour mail_sh_day mail_logfull mail_dos mail_portscan mail_block igmp_enable
    igmp_port igmp_version upnp_enable upnp_adv_time upnp_ttl time_zone time_daylight fw_time_zone
    ntp_custom ntp_server fw_schedule fw_schedule2 wireless_sch_en wl_schedule fw_nat
    fw_response_ping fw_remote fw_remote_port fw_remote_type fw_remote_single fw_remote_range_start
    fw_remote_range_end fw_ttl fw_ttl_ud log_outgoing fw_in_rules fw_out_rules fw_spapp
    fw_dmz_enable fw_dmz ac_control ac_sch access_control fw_services fw_services_def fw_trustenable
    access_group log_access fw_block fw_block_keyword fw_block_trust_enable fw_block_trust
    qos_enable qos_type wan_bandwidth qos wifi_dot11_mode wifi_ap_mode wifi_region wifi_channel
    wifi_bandwidth e_channel wifi_TxPower wifi_BasicRate wifi_beacon wifi_dtim wifi_rts
    wifi_fragment TxPreamble ShortSlot Pkt_Agg isolation wifi_HT_TxStream wifi_HT_RxStream qos_ds
    wifi_wmm_ap wifi_wmm_sta wifi_ssid wifi_broadcast_ssid wifi_wep_on wifi_auth_type wifi_key_len
    wifi_def_key wifi_key1 wifi_key2 wifi_key3 wifi_key4 wifi_wpapsk_key wifi_wpa2psk_key
    wifi_psk_pwd wifi_psk2_pwd wifi_radius_server wifi_radius_port wifi_radius_pwd enable_ssid2
    wifi_ssid2 wifi_wep_on2 wifi_auth_type2 wifi_key_len2 wifi_def_key2 wifi_key12 wifi_key22
    wifi_key32 wifi_key42 wifi_wpapsk_key2 wifi_wpa2psk_key2 wifi_psk_pwd2 wifi_psk2_pwd2
    wifi_access_control wifi_access_list h_wsc_enable wifi_wsc_configured wds_enable wds_type
    wds_list1 wds_list2 wds_list3 wds_list4 sta_ssid wifi_wep_on3 wifi_auth_type3 wifi_def_key3
    wifi_key13 wifi_key23 wifi_key33 wifi_key43 wifi_wpapsk_key3 wifi_wpa2psk_key3 wifi_psk_pwd3
    wifi_psk2_pwd3 wifi_sta_region ssid_apcli_wds wifi_wep_on5 wifi_auth_type5 wifi_def_key5
    wifi_key15 wifi_key25 wifi_key35 wifi_key45 wifi_wpapsk_key5 wifi_wpa2psk_key5 wifi_psk_pwd5
    wifi_psk2_pwd5
'
declare -gA _rc_values=(
    ['Pkt_Agg']='0 1'
    ['ShortSlot']='0 1'
    ['TxPreamble']='0 1'
    ['ac_control']='0 1 2'
    ['ac_sch']='0 1'
    ['ap_mode']='0 1'
    ['bpa_login']='0 1'
    ['ddns_enable']='0 1'
    ['ddns_use_wildcards']='0 1'
    ['dhcp_server_enable']='0 1'
    ['dhcp_server_extended_option']='enable disable'
    ['e_channel']='0 1'
    ['enable_ssid2']='0 1'
    ['fw_block']='0 1 2'
    ['fw_block_trust_enable']='0 1'
    ['fw_dmz_enable']='0 1'
    ['fw_nat']='0 1'
    ['fw_remote']='0 1'
    ['fw_remote_type']='1 2 3'
    ['fw_response_ping']='0 1'
    ['fw_time_zone']='-12|-11|-10|-9|-8|-7a|-7 2|-7b|-6 1|-6a|-6b|-6c|-5a|-5b|-5c|-4a|-4b|-4c|-3:30|-3b|-3c|-3 3|-2|-1|-1 2|GMTa|GMTb|+1a|+1b|+1c|+1d|+1e|+2a|+2b|+2c|+2d|+2e|+2f|+3a|+3 2|+3b|+3c|+3:30|+4a|+4b|+4:30|+5a|+5b|+5 a1|+5 a2|+5 b|+6a|+6 2|+6 a|+7|+7 2|+8a|+8 2|+8c|+8b|+8d|+9a|+9b|+9c|+9:30a|+9:30b|+10a|+10b|+10c|+10d|+10e|+11|+12a|+12 2|+13'
    ['fw_trustenable']='0 1'
    ['fw_ttl']='0 1 2 3 4'
    ['h_wsc_enable']='0 1'
    ['igmp_enable']='0 1'
    ['igmp_version']='0 1 2 3'
    ['isolation']='0 1'
    ['l2tp_dod']='0 1'
    ['l2tp_type']='0 1'
    ['log_access']='0 1'
    ['log_block']='0 1'
    ['log_dos']='0 1'
    ['log_enable']='0 1'
    ['log_gateway']='0 1'
    ['log_login']='0 1'
    ['log_outgoing']='0 1'
    ['log_type']='0 1 2'
    ['mail_block']='0 1'
    ['mail_dos']='0 1'
    ['mail_enable']='0 1'
    ['mail_enable_auth']='0 1'
    ['mail_logfull']='0 1'
    ['mail_portscan']='0 1'
    ['mail_sendlog']='0 1 2 3 4'
    ['ntp_custom']='0 1'
    ['pptp_dod']='0 1'
    ['pptp_server_type']='i d'
    ['pptp_type']='0 1'
    ['qos_ds']='enable disable'
    ['qos_enable']='0 1'
    ['qos_type']='priority bandwidth'
    ['ras_dod']='0 1'
    ['ras_login']='0 1'
    ['restore_default']='0 1'
    ['rt_rip_direction']='0 i o b'
    ['rt_rip_version']='1 2 2B'
    ['time_daylight']='0 1'
    ['upgrade_default']='0 1'
    ['upnp_enable']='0 1'
    ['wan_dod']='0 1'
    ['wan_fix_dns']='0 1'
    ['wan_iptype_pppoe']='Dynamic Fixed'
    ['wan_line']='ethernet wisp'
    ['wan_mode']='dhcpc ip pppoe pptp l2tp bpa ras'
    ['wds_enable']='0 1'
    ['wds_type']='1 2 3 4'
    ['wifi_BasicRate']='0 1 2'
    ['wifi_access_control']='0 1 2'
    ['wifi_ap_mode']='0 1'
    ['wifi_auth_type']='1 2 3'
    ['wifi_auth_type2']='1 2 3'
    ['wifi_auth_type3']='1 2 3'
    ['wifi_auth_type5']='1 2 3'
    ['wifi_bandwidth']='1 2'
    ['wifi_broadcast_ssid']='0 1'
    ['wifi_channel']='auto 1 2 3 4 5 6 7 8 9 10 11 12 13'
    ['wifi_def_key']='1 2 3 4'
    ['wifi_def_key2']='1 2 3 4'
    ['wifi_def_key3']='1 2 3 4'
    ['wifi_def_key5']='1 2 3 4'
    ['wifi_dot11_mode']='0 1 2 3 4 5 6 7'
    ['wifi_key_len']='5 10 13 26'
    ['wifi_key_len2']='5 10 13 26'
    ['wifi_present']='0 1'
    ['wifi_region']='USA|Canada|Africa|Asia|Australia|Europe|Israel|Japan|Mexico|South America'
    ['wifi_sta_region']='USA|Canada|Africa|Asia|Australia|Europe|Israel|Japan|Mexico|South America'
    ['wifi_wep_on']='0 1 2 3 4 5 6'
    ['wifi_wep_on2']='0 1 2 3 4 5 6'
    ['wifi_wep_on3']='0 1 2 3'
    ['wifi_wep_on5']='0 1 2 3'
    ['wifi_wpa2psk_key']='TKIP AES TKIPAES'
    ['wifi_wpa2psk_key2']='TKIP AES TKIPAES'
    ['wifi_wpa2psk_key3']='TKIP AES'
    ['wifi_wpa2psk_key5']='TKIP AES'
    ['wifi_wpapsk_key']='TKIP AES TKIPAES'
    ['wifi_wpapsk_key2']='TKIP AES TKIPAES'
    ['wifi_wpapsk_key3']='TKIP AES'
    ['wifi_wpapsk_key5']='TKIP AES'
    ['wifi_wsc_configured']='0 1'
    ['wireless_sch_en']='enable disable'
)

# Verbs by program; options by program, and by program and verb.
declare -gA _rc_verbs=(
    ['nvram']='get set unset show commit load default export import diff previous apply try confirm undo trial generations bundle mask check describe keys'
    ['rcplan']='run diff sinks report packet exposure inspect check'
)
declare -gA _rc_options=(
    ['nvram']='--root --help --version'
    ['nvram apply']='--dry-run --force --json --commit'
    ['nvram check']='--json'
    ['nvram commit']='--check'
    ['nvram describe']='--json'
    ['nvram diff']='--json --show-secrets'
    ['nvram generations']='--json'
    ['nvram import']='--check --replace'
    ['nvram keys']='--json'
    ['nvram load']='--previous'
    ['nvram mask']='--shapes --end --files'
    ['nvram previous']='--json --show-secrets'
    ['nvram show']='--json --show-secrets'
    ['nvram trial']='--json'
    ['nvram try']='--dry-run --force --json --seconds --probe'
    ['rcplan']='--help --version'
    ['rcplan check']='--help --update --whole'
    ['rcplan diff']='--help --world --json --show-secrets --color'
    ['rcplan exposure']='--help --settings --set --world --clock --wan-address --from --expect --json'
    ['rcplan inspect']='--help --live --report --settings --json'
    ['rcplan packet']='--help --settings --set --world --clock --wan-address --proto --src --dst --sport --dport --in --out --state --flags --mss --icmp-type --mac-source --mac-dest --mark --string --syn --from-router --over-limit --not-drawn --json --no-why'
    ['rcplan report']='--help --settings --set --world --clock'
    ['rcplan run']='--help --settings --set --world --clock --why --json --case --files --show-secrets --color'
    ['rcplan sinks']='--help --settings --set --world --clock --case --table'
)

# The kinds of words after a verb, or after an option that takes a word.
declare -gA _rc_kinds=(
    ['nvram --root']='folder'
    ['nvram apply']='file'
    ['nvram bundle']='file'
    ['nvram check']='place'
    ['nvram describe']='key'
    ['nvram diff']='place'
    ['nvram export']='file'
    ['nvram get']='key'
    ['nvram import']='file'
    ['nvram keys']='key'
    ['nvram mask']='file'
    ['nvram set']='assignment'
    ['nvram show']='key'
    ['nvram try']='file'
    ['nvram try --probe']=''
    ['nvram try --seconds']=''
    ['nvram unset']='key'
    ['rcplan check']='file'
    ['rcplan diff']='file file action'
    ['rcplan diff --color']='words auto always never'
    ['rcplan diff --world']='file'
    ['rcplan exposure']='action'
    ['rcplan exposure --clock']=''
    ['rcplan exposure --expect']='file'
    ['rcplan exposure --from']=''
    ['rcplan exposure --set']='assignment'
    ['rcplan exposure --settings']='file'
    ['rcplan exposure --wan-address']=''
    ['rcplan exposure --world']='file'
    ['rcplan inspect']='other'
    ['rcplan inspect --live']=''
    ['rcplan inspect --report']='file'
    ['rcplan inspect --settings']='file'
    ['rcplan packet']='action'
    ['rcplan packet --clock']=''
    ['rcplan packet --dport']=''
    ['rcplan packet --dst']=''
    ['rcplan packet --flags']=''
    ['rcplan packet --icmp-type']=''
    ['rcplan packet --in']=''
    ['rcplan packet --mac-dest']=''
    ['rcplan packet --mac-source']=''
    ['rcplan packet --mark']=''
    ['rcplan packet --mss']=''
    ['rcplan packet --out']=''
    ['rcplan packet --proto']='words tcp udp icmp'
    ['rcplan packet --set']='assignment'
    ['rcplan packet --settings']='file'
    ['rcplan packet --sport']=''
    ['rcplan packet --src']=''
    ['rcplan packet --state']='words new established related invalid'
    ['rcplan packet --string']=''
    ['rcplan packet --wan-address']=''
    ['rcplan packet --world']='file'
    ['rcplan report']='file action'
    ['rcplan report --clock']=''
    ['rcplan report --set']='assignment'
    ['rcplan report --settings']='file'
    ['rcplan report --world']='file'
    ['rcplan run']='action'
    ['rcplan run --clock']=''
    ['rcplan run --color']='words auto always never'
    ['rcplan run --files']='folder'
    ['rcplan run --set']='assignment'
    ['rcplan run --settings']='file'
    ['rcplan run --world']='file'
    ['rcplan sinks']='key'
    ['rcplan sinks --case']='file'
    ['rcplan sinks --clock']=''
    ['rcplan sinks --set']='assignment'
    ['rcplan sinks --settings']='file'
    ['rcplan sinks --table']='words sinks uses restarts files'
    ['rcplan sinks --world']='file'
)

# Offers the words of a list that start with the typed text, each with a suffix. Spaces separate the
# words, or '|' if one of them contains a space.
#   _rc_offer TYPED LIST [SUFFIX]
_rc_offer() {
    local IFS=$' \t\n' words word
    if [[ $2 == *'|'* ]]; then IFS=$'|\n'; fi
    read -rd '' -a words <<< "$2"
    for word in "${words[@]}"; do
        [[ $word == "$1"* ]] || continue
        printf -v word %q "$word"
        COMPREPLY+=("$word${3-}")
    done
}

# A key with its value. If '=' separates words, only the text after it is replaced.
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

# The words after rc.
_rc_action() {
    case $# in
    1) _rc_offer "$1" "$_rc_names" ;;
    2) _rc_offer "$2" "${_rc_actions[$1]-}" ;;
    esac
}

# A word of a kind. File names are left to readline, which quotes them.
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
        _rc_offer "$2" '@working @factory @flash @previous'
        compopt -o default 2> /dev/null
        ;;
    esac
}

# A program with verbs: its name and all words up to the cursor.
_rc_program() {
    local program=$1 verb='' kinds=() options_end='' word
    shift
    while (($# > 1)); do
        word=$1
        shift
        if [[ -z $options_end && $word == -- ]]; then
            options_end=1
        elif [[ -z $options_end && $word == -* ]]; then
            [[ -n ${_rc_kinds[$program${verb:+ $verb} $word]+set} ]] || continue
            if (($# == 1)); then
                _rc_of_kind "${_rc_kinds[$program${verb:+ $verb} $word]}" "$1"
                return
            fi
            shift
        elif [[ -z $verb ]]; then
            verb=$word
            read -ra kinds <<< "${_rc_kinds[$program $verb]-}"
        elif [[ ${kinds[0]-} == action ]]; then
            _rc_action "$word" "$@"
            return
        elif ((${#kinds[@]} > 1)); then
            kinds=("${kinds[@]:1}")
        fi
    done
    if [[ -z $options_end && $1 == -* ]]; then
        _rc_offer "$1" "${_rc_options[$program]-} ${_rc_options[$program $verb]-}"
    elif [[ -z $verb ]]; then
        _rc_offer "$1" "${_rc_verbs[$program]-}"
    else
        _rc_of_kind "${kinds[0]-}" "$1"
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
