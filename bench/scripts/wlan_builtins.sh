#!/bin/sh
# Writes the radio driver's files of rc wlan start with the shell's built-ins only: it reads the settings once, and starts
# nothing.
# Not implemented, because the full house does not use it: the lines of a single network, a radio that is switched off,
# lists longer than the driver accepts, WMM numbers that are missing or begin with zeros.
# shellcheck disable=SC2154 # the settings come from the image
# shellcheck disable=SC2086 # lists are split on purpose; nothing in them is a pattern, for -f is set
# shellcheck disable=SC3003,SC3043,SC3057,SC3060 # busybox knows $'', local, ${::} and ${//}
set -f
SOH=$'\001'

# Settings become variables of the same names.
read_settings() {
    while IFS= read -r line; do
        case $line in
        Pkt_Agg=* | ShortSlot=* | TxPreamble=* | e_channel=* | enable_ssid2=* | isolation=* | lan_i* | qos_ds=* | \
            wds_* | wifi_*) ;;
        *) continue ;;
        esac
        value=${line#*=}
        case $value in
        *\\*) value=${value//\\x01/$SOH} ;;
        esac
        eval "${line%%=*}=\$value"
    done < /tmp/nvram
}

# 1 when a switch is on, else 0: $on
switch() {
    case $1 in
    1*) on=1 ;;
    *) on=0 ;;
    esac
}

read_region() {
    region=1
    case $wifi_region in
    USA) country=US region=0 ;;
    Canada) country=CA region=0 ;;
    Africa) country=ZA ;;
    Asia) country=KR ;;
    Australia) country=AU ;;
    Europe) country=AT ;;
    Israel) country=IL ;;
    Japan) country=JP ;;
    Mexico) country=MX ;;
    'South America') country=HN ;;
    *) country=TW ;;
    esac
}

write_radio() {
    case $wifi_dot11_mode in
    1*) mode=1 ;;
    2*) mode=0 ;;
    3*) mode=4 ;;
    4*) mode=6 ;;
    6*) mode=7 ;;
    *) mode=9 ;;
    esac
    case $wifi_BasicRate in
    1*) rate=351 ;;
    2*) rate=3 ;;
    *) rate=15 ;;
    esac
    auto=0 channel=$wifi_channel extension=$e_channel
    [ "$wifi_channel" != auto ] || auto=1 channel=0 extension=0
    switch "$TxPreamble"
    echo "Default
CountryRegion=$region
CountryRegionABand=7
CountryCode=$country
BssidNum=2
SSID=$wifi_ssid;$wifi_ssid2
WirelessMode=$mode
TxRate=0
Channel=$channel
BasicRate=$rate
BeaconPeriod=$wifi_beacon
DtimPeriod=$wifi_dtim
TxPower=$wifi_TxPower
DisableOLBC=0
BGProtection=0
TxAntenna=
RxAntenna=
TxPreamble=$on
RTSThreshold=$wifi_rts
FragThreshold=$wifi_fragment
TxBurst=0
PktAggregate=$Pkt_Agg
TurboRate=0"
}

# One of the two lists of numbers, under its prefix.
write_wmm_numbers() {
    local IFS=_
    prefix=$1
    set -- $2
    echo "${prefix}Aifsn=$3;$7;${11};${15}
${prefix}Cwmin=$1;$5;$9;${13}
${prefix}Cwmax=$2;$6;${10};${14}
${prefix}Txop=$4;$8;${12};${16}
${prefix}ACM=0;0;0;0"
}

write_wmm() {
    wmm=1
    [ "$qos_ds" != disable ] || wmm=0
    echo "WmmCapable=$wmm"
    write_wmm_numbers AP "$wifi_wmm_ap"
    write_wmm_numbers BSS "$wifi_wmm_sta"
    echo 'AckPolicy=0;0;0;0
APSDCapable=0
DLSCapable=0'
}

# Of mode, kind of WEP, its default key and its key length, the ciphers and pass phrases of WPA and WPA2: $auth, $cipher,
# $default_key, $key_type and $phrase
read_security() {
    phrase=$8
    case $1 in
    0) auth=OPEN cipher=NONE ;;
    1)
        cipher=WEP
        case $2 in
        1) auth=OPEN ;;
        2) auth=SHARED ;;
        *) auth=WEPAUTO ;;
        esac
        ;;
    2) auth=WPAPSK cipher=$5 phrase=$7 ;;
    3) auth=WPA2PSK cipher=$6 ;;
    5) auth=WPA cipher=TKIP ;;
    6) auth=WPA2 cipher=TKIP ;;
    *) auth=WPAPSKWPA2PSK cipher=TKIPAES ;;
    esac
    default_key=2
    [ "$cipher" != WEP ] || default_key=$3
    case $4 in
    5 | 13) key_type=1 ;;
    *) key_type=0 ;;
    esac
    [ "$1" = 0 ] || echo security1 > /proc/led
}

write_security() {
    read_security "$wifi_wep_on" "$wifi_auth_type" "$wifi_def_key" "$wifi_key_len" "$wifi_wpapsk_key" \
        "$wifi_wpa2psk_key" "$wifi_psk_pwd" "$wifi_psk2_pwd"
    auth1=$auth cipher1=$cipher default_key1=$default_key key_type1=$key_type phrase1=$phrase
    read_security "$wifi_wep_on2" "$wifi_auth_type2" "$wifi_def_key2" "$wifi_key_len2" "$wifi_wpapsk_key2" \
        "$wifi_wpa2psk_key2" "$wifi_psk_pwd2" "$wifi_psk2_pwd2"
    echo "AuthMode=$auth1;$auth
EncrypType=$cipher1;$cipher
DefaultKeyID=$default_key1;$default_key
RekeyInterval=3600
RekeyMethod=DISABLE
PMKCachePeriod=10
Key1Type=$key_type1;$key_type
Key2Type=$key_type1;$key_type
Key3Type=$key_type1;$key_type
Key4Type=$key_type1;$key_type
Key1Str=$wifi_key1;$wifi_key12
Key2Str=$wifi_key2;$wifi_key22
Key3Str=$wifi_key3;$wifi_key32
Key4Str=$wifi_key4;$wifi_key42
WPAPSK1=$phrase1
WPAPSK2=$phrase"
}

write_access_point() {
    ascii=1
    [ ${#wifi_psk_pwd} != 64 ] || ascii=0
    switch "$wifi_broadcast_ssid"
    echo "NoForwarding=$isolation;1
WscKeyASCII=$ascii
NoForwardingBTNBSSID=1
HideSSID=$((!on));0
ShortSlot=$ShortSlot
AutoChannelSelect=$auto
IEEE8021X=0
IEEE80211H=0
CarrierDetect=0
CSPeriod=6
PreAuth=0"
    write_security
    echo HSCounter=0
}

# The records that begin with an address, joined: $list
join_addresses() {
    list=
    for record in "$@"; do
        [ ${#record} -lt 17 ] || list=$list${list:+;}${record:0:$length}
    done
}

write_access_control() {
    case $wifi_access_control in
    1*) policy=1 ;;
    2*) policy=2 ;;
    *) policy=0 ;;
    esac
    local IFS=$SOH length=17
    join_addresses $wifi_access_list
    echo "/sbin/iwpriv ra0 set AccessPolicy=$policy
/sbin/iwpriv ra1 set AccessPolicy=$policy
/sbin/iwpriv ra0 set ACLAddEntry=\"$list\"" > /tmp/wifi_acc
    echo "AccessPolicy0=$policy
AccessPolicy1=$policy
AccessControlList0=$list
AccessControlList1=$list
AccessPolicy2=0
AccessControlList2=
AccessPolicy3=0
AccessControlList3="
}

write_wds() {
    switch "$wds_enable"
    case $on$wifi_dot11_mode in
    0*) kind=0 ;;
    1[47]*) kind=3 ;;
    *) kind=$wds_type ;;
    esac
    case $wifi_wep_on in
    1*)
        wds_cipher=WEP
        case $wifi_def_key in
        [234]*) eval "secret=\$wifi_key${wifi_def_key:0:1}" ;;
        *) secret=$wifi_key1 ;;
        esac
        ;;
    2*) wds_cipher=$wifi_wpapsk_key secret=$wifi_psk_pwd ;;
    3*) wds_cipher=$wifi_wpa2psk_key secret=$wifi_psk2_pwd ;;
    *) wds_cipher=NONE secret= ;;
    esac
    # A peer is used as a whole.
    length=127
    join_addresses "$wds_list1" "$wds_list2" "$wds_list3" "$wds_list4"
    echo "WdsEnable=$kind
WdsEncrypType=$wds_cipher
WdsList=$list
WdsKey=$secret
WdsPhyMode=HTMIX"
}

write_rest() {
    case $wifi_bandwidth in
    2*) bandwidth=HT_BW=0 ;;
    *) bandwidth="HT_BW=1
HT_EXTCHA=$extension" ;;
    esac
    switch "$wds_enable"
    echo "RADIUS_Server=$wifi_radius_server
RADIUS_Port=$wifi_radius_port
RADIUS_Key=$wifi_radius_pwd
own_ip_addr=$lan_ipaddr
EAPifname=$lan_if
PreAuthifname=$lan_if
HT_HTC=1
HT_LinkAdapt=0
HT_RDG=$((!on))
HT_OpMode=0
HT_TxStream=$wifi_HT_TxStream
HT_RxStream=$wifi_HT_RxStream
HT_PROTECT=1
HT_MpduDensity=5
$bandwidth
HT_AutoBA=1
HT_AMSDU=0
HT_BAWinSize=64
HT_GI=1
HT_STBC=1
HT_MCS=33"
}

write_config() {
    read_region
    write_radio
    write_wmm
    write_access_point
    write_access_control
    write_wds
    write_rest
}

read_settings
write_config > /var/RT2860AP.dat
