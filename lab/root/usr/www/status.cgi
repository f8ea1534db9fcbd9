#!/bin/sh
# The status page: a few settings as they are now, read from the store at each request.

echo "Content-Type: text/plain"
echo
for key in lan_ipaddr lan_netmask lan_assign_mac dhcp_start_ip dhcp_end_ip; do
    echo "$key=$(/usr/sbin/nvram get "$key")"
done
echo "uptime=$(cut -d ' ' -f 1 /proc/uptime)"
