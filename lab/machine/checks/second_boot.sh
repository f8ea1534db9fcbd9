# The machine is switched on again, with the flash as the power cut has left it: the stored settings dial by PPPoE.
# shellcheck shell=bash

shop=198.51.100.81
# shellcheck disable=SC2016
password='a"b$c`d\e%f'

new_pc pc1 02:00:00:00:00:11
pc_at pc1 192.168.1.33
new_pc pc2 02:00:00:00:00:12
pc_at pc2 192.168.1.40
serve pc2 192.168.1.40 80 pc2
new_provider
in_net provider ip addr add "$shop/32" dev lo
in_net provider ip addr add "$tunnel_server/32" dev lo
serve provider "$shop" 80 shop
head -c 100000 /dev/zero > "$world/www.shop/big"
links_secrets "$password"
start_pppoe_server "gold line"

step "After the power cut the committed settings are there again, and the boot dials"
boot_starts_all
power_on || exit 1
same "a committed setting" pppoe "$(setting wan_mode)"
same "a setting not committed" Router "$(setting device_name)"
with "adapter pppd" comes "the link is up: /tmp/wan_uptime, and an address of ppp0" link_is_up
must_hold
for file in pppoe firewall schedule hang_up trial tunnels; do
    # shellcheck source=/dev/null
    . "$lab/machine/checks/$file.sh"
done

step "Not available in this machine"
skipped "MPPE with the line that rc gives to pppd alone" "Debian's pppd turns it down when no option asks for it"
skipped "PAP or CHAP over L2TP" "xl2tpd reads \"refuse authentication\" as a refusal of both"
skipped "the board's switch, its radio, WDS and WPS" "no drivers and no hardware: stubs"
skipped "the router's own kernel, C library, cron and daemons" "Debian's stand for them"
