// Members of a router's archive, as its tools print them.

#include "router_outputs.h"

namespace {

constexpr std::string_view outputs[] = {
    "commands/ps\n"
    "  PID  Uid     VmSize Stat Command\n"
    "    1 root        356 S   init\n"
    "    2 root            SWN [ksoftirqd/0]\n"
    "  187 root        248 S   /usr/sbin/udhcpc -i eth2.2 -s /etc/ud\n"
    "  188 root        248 S < {script} /bin/sh /etc/script\n"
    "\fcommands/cmdlines\n"
    "187\t5210\t/usr/sbin/udhcpc\x1f-i\x1f"
    "eth2.2\x1f-s\x1f/etc/udhcpc.script\x1f\n"
    "\ffiles/var/run/my_pid_wan\n187\n\ffiles/var/run/rc.dhcpd.run\n\ffiles/tmp/cron_schedule\n0",
    "commands/ifconfig\n"
    "br0       Link encap:Ethernet  HWaddr 02:00:00:00:0A:01\n"
    "          inet addr:192.168.1.1  Bcast:192.168.1.255  Mask:255.255.255.0\n"
    "          UP BROADCAST RUNNING MULTICAST  MTU:1500  Metric:1\n"
    "\fcommands/route\n"
    "Destination     Gateway         Genmask         Flags Metric Ref    Use Iface\n"
    "0.0.0.0         203.0.113.1     0.0.0.0         UG    0      0        0 eth2.2\n"
    "\fcommands/brctl\n"
    "bridge name\tbridge id\t\tSTP enabled\tinterfaces\n"
    "br0\t\t8000.020000000a01\tno\t\teth2.1\n"
    "\t\t\t\t\t\t\tra0\n"
    "\fcommands/df\n"
    "Filesystem           1k-blocks      Used Available Use% Mounted on\n"
    "tmpfs                    14800     14700       100  99% /tmp\n",
    "about\nformat 1\ndate 1700000000\nuptime 86400.12 80000.00\n"
    "\fsettings\nhttp_password=********\nddns_enable=1\nfw_schedule=0:0:0-1:0\n"
    "\fshapes\nhttp_password=12 text\n"
    "\funcommitted\n- lan_lease_time=1\n+ lan_lease_time=5\n"
    "\ffiles/tmp/ddns_update.log\n14\n",
    "commands/iptables-save\n"
    "*nat\n:PREROUTING ACCEPT [0:0]\n:PF - [0:0]\n"
    "[0:0] -A PREROUTING -j PF\n"
    "[12:720] -A PF -d 203.0.113.20 -p tcp -m tcp --dport 80 -j DNAT --to-destination "
    "192.168.1.9:80\n"
    "COMMIT\n*filter\n:FORWARD DROP [0:0]\n"
    "-A FORWARD -m string --string \"a \\\"b\\\"\" --algo kmp -j LOG --log-prefix \"[BLOCK]\"\n"
    "COMMIT\n",
    "commands/iptables.filter\n"
    "Chain FORWARD (policy DROP 0 packets, 0 bytes)\n"
    "    pkts      bytes target     prot opt in     out     source               destination\n"
    "       0        0 DOS        tcp  --  !br0   *      !10.0.0.0/8           0.0.0.0/0           "
    "tcp spts:1:2 dpt:!80 flags:0x17/0x02 state NEW limit: avg 5/sec burst 5 \n"
    "       0        0            all  -f  *      *       0.0.0.0/0            0.0.0.0/0           "
    "MAC ! 02:00:00:00:00:01 source IP range 1.2.3.4-1.2.3.9 MARK match !0x1 \n"
    "       0        0 LOG        all  --  *      *       0.0.0.0/0            0.0.0.0/0           "
    "STRING match \"x\" ALGO name kmp TO 65535 LOG flags 0 level 4 prefix `[DOS] ' \n"
    "       0        0 REJECT     icmp --  *      *       0.0.0.0/0            0.0.0.0/0           "
    "icmp type 8 code 0 reject-with icmp-port-unreachable \n"
    "\n"
    "Chain DOS (1 references)\n"
    "       0        0 TCPMSS     tcp  --  *      *       0.0.0.0/0            0.0.0.0/0           "
    "tcpmss match 1400:1536 TCPMSS set 1360 \n"
    "\fcommands/iptables.nat\n"
    "Chain POSTROUTING (policy ACCEPT 0 packets, 0 bytes)\n"
    "       0        0 SNAT       all  --  *      eth2.2  0.0.0.0/0            0.0.0.0/0           "
    "random 50% to:203.0.113.20 \n"
    "\fcommands/iptables.mangle\n"
    "Chain FORWARD (policy ACCEPT 0 packets, 0 bytes)\n"
    "       0        0 MARK       all  --  *      *       0.0.0.0/0            0.0.0.0/0           "
    "MARK xset 0x1/0xffffffff\n"
    "       0        0 TTL        all  --  *      *       0.0.0.0/0            0.0.0.0/0           "
    "TTL increment by 1 \n",
};

}  // namespace

std::span<const std::string_view> router_outputs() {
    return outputs;
}
