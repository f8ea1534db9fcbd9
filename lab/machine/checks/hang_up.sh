# The link is hung up.
# shellcheck shell=bash

link_is_down() {
    not_running pppd && ! in_net router ip link show dev ppp0
}

sessions() {
    in_net provider ip -o link show type ppp | wc -l
}

provider_is_left() {
    [ "$(sessions)" = 0 ]
}

step "rc wan stop hangs up"
for_step "adapter pppd"
same "sessions at the provider" 1 "$(sessions)"
console rc wan stop
comes "pppd has ended, and ppp0 is gone" link_is_down
comes "the provider has no session left" provider_is_left
comes "/tmp/wan_uptime is gone" gone /tmp/wan_uptime
same "eth2.2's address" "" "$(address_of eth2.2)"
same "the default route" "" "$(default_route)"
