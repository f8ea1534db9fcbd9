// Reads verdicts.

#include "judged.h"

#include "random_settings.h"

std::string Judged::text() const {
    if (!accepted) return "dropped";
    std::string text = out.empty() ? "to the router" : "out of " + out;
    text += " to " + quad_text(destination);
    return port == 0 ? text : text + ":" + std::to_string(port);
}

Judged judged_by(const KernelFate& fate) {
    return {.accepted = fate.accepted,
            .out = fate.out,
            .destination = fate.arrival.destination,
            .port = fate.arrival.destination_port,
            .source = fate.arrival.source};
}

Judged judged_by(const Walk& walk) {
    return {.accepted = walk.verdict == Verdict::Accept,
            .out = walk.packet.out,
            .destination = walk.packet.destination.value_or(0),
            .port = walk.packet.destination_port.value_or(0),
            .source = walk.packet.source.value_or(0)};
}

Judged judged_by(const std::vector<Opening>& openings, const PacketSpace& space,
                 const Packet& packet) {
    Judged judged;
    for (const Opening& opening : openings) {
        if (opening.state != packet.state || !space.holds(opening.packets, packet)) continue;
        Judged one = {.accepted = true,
                      .out = opening.out,
                      .destination = opening.to.value_or(packet.destination.value_or(0))};
        if (packet.destination_port) one.port = opening.to_port.value_or(*packet.destination_port);
        // Two that differ agree with nobody.
        if (judged.accepted && !(judged == one)) one.out = "two interfaces";
        judged = one;
    }
    return judged;
}

std::string cannot_be_compared(const Firewall& firewall) {
    const Networks& networks = firewall.networks;
    std::string reason = not_followed(firewall.tables);
    if (!reason.empty()) return reason;
    const bool fits = networks.lan_if == "br0" && networks.wan_if == "eth2.2" && networks.lan &&
                      networks.lan->text() == "192.168.1.0/255.255.255.0" &&
                      networks.addresses.size() == 2 &&
                      networks.addresses.at("br0") == *parse_quad("192.168.1.1") &&
                      networks.addresses.at("eth2.2") == *parse_quad(wan_address);
    return fits ? "" : "the router has other interfaces or addresses than the test's cables";
}
