#!/bin/sh
# Writes the radio driver's files of rc wlan start in the usual style: a call of nvram for each setting, commands in pipes
# for the lists.
# Not implemented, because the full house does not use it: the lines of a single network, a radio that is switched off,
# lists longer than the driver accepts, WMM numbers that are missing.

first_character() { nvram get "$1" | cut -c1; }

is_on() { [ "$(first_character "$1")" = 1 ]; }

write_country() {
    region=$(nvram get wifi_region)
    case $region in
    USA | Canada) echo CountryRegion=0 ;;
    *) echo CountryRegion=1 ;;
    esac
    echo CountryRegionABand=7
    case $region in
    USA) echo CountryCode=US ;;
    Canada) echo CountryCode=CA ;;
    Africa) echo CountryCode=ZA ;;
    Asia) echo CountryCode=KR ;;
    Australia) echo CountryCode=AU ;;
    Europe) echo CountryCode=AT ;;
    Israel) echo CountryCode=IL ;;
    Japan) echo CountryCode=JP ;;
    Mexico) echo CountryCode=MX ;;
    'South America') echo CountryCode=HN ;;
    *) echo CountryCode=TW ;;
    esac
}

write_radio() {
    case $(first_character wifi_dot11_mode) in
    1) mode=1 ;;
    2) mode=0 ;;
    3) mode=4 ;;
    4) mode=6 ;;
    6) mode=7 ;;
    *) mode=9 ;;
    esac
    case $(first_character wifi_BasicRate) in
    1) rate=351 ;;
    2) rate=3 ;;
    *) rate=15 ;;
    esac
    echo "BssidNum=2
SSID=$(nvram get wifi_ssid);$(nvram get wifi_ssid2)
WirelessMode=$mode
TxRate=0
Channel=$(nvram get wifi_channel | sed 's/^auto$/0/')
BasicRate=$rate
BeaconPeriod=$(nvram get wifi_beacon)
DtimPeriod=$(nvram get wifi_dtim)
TxPower=$(nvram get wifi_TxPower)
DisableOLBC=0
BGProtection=0
TxAntenna=
RxAntenna=
TxPreamble=$(is_on TxPreamble && echo 1 || echo 0)
RTSThreshold=$(nvram get wifi_rts)
FragThreshold=$(nvram get wifi_fragment)
TxBurst=0
PktAggregate=$(nvram get Pkt_Agg)
TurboRate=0"
}

write_wmm_numbers() {
    nvram get "$2" | awk -F_ -v OFS=';' -v prefix="$1" '{
        print prefix "Aifsn=" $3, $7, $11, $15
        print prefix "Cwmin=" $1, $5, $9, $13
        print prefix "Cwmax=" $2, $6, $10, $14
        print prefix "Txop=" $4, $8, $12, $16
        print prefix "ACM=0;0;0;0"
    }'
}

write_wmm() {
    echo "WmmCapable=$([ "$(nvram get qos_ds)" = disable ] && echo 0 || echo 1)"
    write_wmm_numbers AP wifi_wmm_ap
    write_wmm_numbers BSS wifi_wmm_sta
    echo 'AckPolicy=0;0;0;0
APSDCapable=0
DLSCapable=0'
}

# The second network's keys end with a 2.
auth_word() {
    case $(nvram get "wifi_wep_on$1") in
    0) echo OPEN ;;
    1)
        case $(nvram get "wifi_auth_type$1") in
        1) echo OPEN ;;
        2) echo SHARED ;;
        *) echo WEPAUTO ;;
        esac
        ;;
    2) echo WPAPSK ;;
    3) echo WPA2PSK ;;
    5) echo WPA ;;
    6) echo WPA2 ;;
    *) echo WPAPSKWPA2PSK ;;
    esac
}

cipher_word() {
    case $(nvram get "wifi_wep_on$1") in
    0) echo NONE ;;
    1) echo WEP ;;
    2) nvram get "wifi_wpapsk_key$1" ;;
    3) nvram get "wifi_wpa2psk_key$1" ;;
    5 | 6) echo TKIP ;;
    *) echo TKIPAES ;;
    esac
}

default_key() { [ "$(cipher_word "$1")" = WEP ] && nvram get "wifi_def_key$1" || echo 2; }

key_type() {
    case $(nvram get "wifi_key_len$1") in
    5 | 13) echo 1 ;;
    *) echo 0 ;;
    esac
}

phrase() {
    case $(nvram get "wifi_wep_on$1") in
    2) nvram get "wifi_psk_pwd$1" ;;
    *) nvram get "wifi_psk2_pwd$1" ;;
    esac
}

write_security() {
    for network in '' 2; do
        [ "$(nvram get "wifi_wep_on$network")" = 0 ] || /bin/echo security1 > /proc/led
    done
    echo "AuthMode=$(auth_word '');$(auth_word 2)
EncrypType=$(cipher_word '');$(cipher_word 2)
DefaultKeyID=$(default_key '');$(default_key 2)
RekeyInterval=3600
RekeyMethod=DISABLE
PMKCachePeriod=10"
    for key in 1 2 3 4; do echo "Key${key}Type=$(key_type '');$(key_type 2)"; done
    for key in 1 2 3 4; do echo "Key${key}Str=$(nvram get "wifi_key$key");$(nvram get "wifi_key${key}2")"; done
    echo "WPAPSK1=$(phrase '')
WPAPSK2=$(phrase 2)"
}

write_access_point() {
    echo "NoForwarding=$(nvram get isolation);1
WscKeyASCII=$([ "$(nvram get wifi_psk_pwd | tr -d '\n' | wc -c)" -eq 64 ] && echo 0 || echo 1)
NoForwardingBTNBSSID=1
HideSSID=$(is_on wifi_broadcast_ssid && echo 0 || echo 1);0
ShortSlot=$(nvram get ShortSlot)
AutoChannelSelect=$([ "$(nvram get wifi_channel)" = auto ] && echo 1 || echo 0)
IEEE8021X=0
IEEE80211H=0
CarrierDetect=0
CSPeriod=6
PreAuth=0"
    write_security
    echo HSCounter=0
}

# Lines that begin with an address, joined.
joined() { grep '.................' | tr '\n' ';' | sed 's/;$//'; }

write_access_control() {
    case $(first_character wifi_access_control) in
    1) policy=1 ;;
    2) policy=2 ;;
    *) policy=0 ;;
    esac
    list=$(nvram get wifi_access_list | tr '\001' '\n' | cut -c1-17 | joined)
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

wds_kind() {
    if ! is_on wds_enable; then
        echo 0
        return
    fi
    case $(first_character wifi_dot11_mode) in
    4 | 7) echo 3 ;;
    *) nvram get wds_type ;;
    esac
}

wds_cipher() {
    case $(first_character wifi_wep_on) in
    1) echo WEP ;;
    2) nvram get wifi_wpapsk_key ;;
    3) nvram get wifi_wpa2psk_key ;;
    *) echo NONE ;;
    esac
}

wds_secret() {
    case $(first_character wifi_wep_on) in
    1)
        case $(first_character wifi_def_key) in
        [234]) nvram get "wifi_key$(first_character wifi_def_key)" ;;
        *) nvram get wifi_key1 ;;
        esac
        ;;
    2) nvram get wifi_psk_pwd ;;
    3) nvram get wifi_psk2_pwd ;;
    esac
}

write_wds() {
    echo "WdsEnable=$(wds_kind)
WdsEncrypType=$(wds_cipher)
WdsList=$(for peer in 1 2 3 4; do nvram get "wds_list$peer"; done | joined)
WdsKey=$(wds_secret)
WdsPhyMode=HTMIX"
}

write_bandwidth() {
    if [ "$(first_character wifi_bandwidth)" = 2 ]; then
        echo HT_BW=0
        return
    fi
    echo HT_BW=1
    case $(nvram get wifi_channel) in
    auto) echo HT_EXTCHA=0 ;;
    *) echo "HT_EXTCHA=$(nvram get e_channel)" ;;
    esac
}

write_rest() {
    echo "RADIUS_Server=$(nvram get wifi_radius_server)
RADIUS_Port=$(nvram get wifi_radius_port)
RADIUS_Key=$(nvram get wifi_radius_pwd)
own_ip_addr=$(nvram get lan_ipaddr)
EAPifname=$(nvram get lan_if)
PreAuthifname=$(nvram get lan_if)
HT_HTC=1
HT_LinkAdapt=0
HT_RDG=$(is_on wds_enable && echo 0 || echo 1)
HT_OpMode=0
HT_TxStream=$(nvram get wifi_HT_TxStream)
HT_RxStream=$(nvram get wifi_HT_RxStream)
HT_PROTECT=1
HT_MpduDensity=5"
    write_bandwidth
    echo 'HT_AutoBA=1
HT_AMSDU=0
HT_BAWinSize=64
HT_GI=1
HT_STBC=1
HT_MCS=33'
}

write_config() {
    echo Default
    write_country
    write_radio
    write_wmm
    write_access_point
    write_access_control
    write_wds
    write_rest
}

write_config > /var/RT2860AP.dat
