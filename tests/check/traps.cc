// The values, and what rc does with each.

#include "traps.h"

const std::vector<Trap>& traps() {
    static const std::vector<Trap> all = {
        // l2tpd starts once udhcpc has an address for the port.
        {.name = "L2tpOverDhcp",
         .base = "factory, l2tp",
         .key = "l2tp_redial",
         .value = "TCP",
         .effects = {"writes into /tmp/l2tp/l2tpd.conf: redial timeout = TCP"}},
        {.name = "PptpOverDhcp",
         .base = "factory",
         .key = "pptp_server",
         .value = "Udp",
         .effects =
             {"with wan_mode=pptp, runs: /usr/sbin/pppd pty 'pptp Udp ... lcp-echo-failure 3 &"}},
        // An address takes 17 characters, the next entry's among them.
        {.name = "ShortAddressBeforeAnother",
         .base = "full house",
         .key = "access_group",
         .value = "a;b\x01"
                  "02:00:00:00:00:02",
         .effects = {"writes into /tmp/rules: iptables -A OUT_FILTER -m mac --mac-source"
                     " a;b\\x0102:00:00:00:0 -j ACCEPT"}},
        {.name = "TwoShortAddresses",
         .base = "full house",
         .key = "access_group",
         .value = "a;b\x01"
                  "$(id)\x01"
                  "02:00:00:00:00:02",
         .effects = {"reads it as a part of the entry before it",
                     "writes into /tmp/rules: iptables -A OUT_FILTER -m mac --mac-source"
                     " a;b\\x01$(id)\\x0102:00:0 -j ACCEPT"}},
        {.name = "ShortLastAddress",
         .base = "factory",
         .key = "wifi_access_list",
         .value = "00:11:22:aa:bb:cc\x01$(id)",
         .effects = {"skips the entry"}},
        {.name = "NewlineInAnAddress",
         .base = "factory",
         .key = "wifi_access_list",
         .value = "a\nb\x01"
                  "00:11:22:aa:bb:cc\x01"
                  "00:11:22:aa:bb:cd",
         .effects =
             {"writes into /var/RT2860AP.dat: AccessControlList0=...a\\x0ab\\x0100:11:22:aa:b..."
              " (and another such line)"}},
        // In the script of QoS a name has 10 characters at most.
        {.name = "LongInterface",
         .base = "full house",
         .key = "lan_if",
         .value = "name:with:colons",
         .effects = {"writes into /tmp/qos.conf: /sbin/ifconfig name:with: txqueuelen 100",
                     "shapes 'name:with:', which does not exist"}},
        {.name = "LongWanInterface",
         .base = "full house",
         .key = "wan_ifname",
         .value = "name:with:colons",
         .effects = {"writes into /tmp/qos.conf: /sbin/ifconfig name:with: txqueuelen 100",
                     "shapes 'name:with:', which does not exist"}},
        // The driver's line joins all peers.
        {.name = "PeerBeforeOthers",
         .base = "full house, ip",
         .key = "wds_list1",
         .value = "00:00:00:00:00:00",
         .effects = {"writes into /var/RT2860AP.dat: WdsList=00:00:00:00:00:00..."}},
        {.name = "ShortPeer",
         .base = "full house, ip",
         .key = "wds_list1",
         .value = "001122334455",
         .effects = {"does not use a text of fewer than 17 characters"}},
        // Of a version that starts with 2, routed gets only that.
        {.name = "RipVersion",
         .base = "factory",
         .key = "rt_rip_version",
         .value = "2;id",
         .effects = {"treats a value that starts with 2B as 2B, any other that starts with 2 as 2,"
                     " and passes the rest to routed unchanged"}},
        // Fields have widths.
        {.name = "LongPortOfAQosRule",
         .base = "full house",
         .key = "qos",
         .value = "1\x02"
                  "0\x02"
                  "web\x02"
                  "2004\x02"
                  "3000.0.255.0\x02"
                  "udp\x02"
                  "192.168.1.14\x02"
                  "44\x02"
                  "0\x02"
                  "1",
         .effects =
             {"writes into /tmp/qos.conf: /usr/sbin/iptables -t mangle -A FORWARD -i br0 -p ..."
              " --dport 2004:3000. -j RETURN"}},
        {.name = "LongProtocolOfAQosRule",
         .base = "full house",
         .key = "qos",
         .value = "1\x02"
                  "0\x02"
                  "web\x02"
                  "2004\x02"
                  "2005\x02"
                  "tcp;reboot\x02"
                  "192.168.1.14\x02"
                  "44\x02"
                  "0\x02"
                  "1",
         .effects =
             {"writes into /tmp/qos.conf: /usr/sbin/iptables -t mangle -A FORWARD -i ... -p tcp; ..."
              " -j RETURN"}},
        {.name = "LongProtocolOfAForward",
         .base = "factory, pppoe",
         .key = "fw_in_rules",
         .value = "web:1:0:8080:80:tcp's:10",
         .effects = {"writes into /tmp/rules: iptables -A FORWARD -p tcp -d 192.168.1.10 --dport 80"
                     " -j ACCEPT"}},
        {.name = "LongHostOfAForward",
         .base = "factory, pppoe",
         .key = "fw_out_rules",
         .value = "games:1:0:27000:27050:both:1' 2' 3'",
         .effects = {"writes into /tmp/rules: iptables -A FORWARD ... -d ...1'  --dport 27000:27050"
                     " -j ACCEPT (and 3 more such lines)"}},
    };
    return all;
}
