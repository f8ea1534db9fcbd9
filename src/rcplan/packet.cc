// rcplan packet: what the firewall does with a packet, which rule decides, and the settings behind
// that rule.

#include <iostream>

#include "plan/netfilter/packet_options.h"
#include "plan/trace/redaction.h"
#include "rcplan/files.h"
#include "rcplan/packet_json.h"
#include "rcplan/packet_report.h"
#include "rcplan/verbs.h"

namespace {

constexpr int status_accepted = 0;
constexpr int status_dropped = 1;

}  // namespace

int packet_verb(const PacketVerbOptions& options) {
    const std::vector<std::string> words = rc_words(
        options.words.empty() ? std::vector<std::string>{"firewall", "start"} : options.words);
    const std::optional<World> router = router_before(options.router, options.wan_address, words);
    if (!router) return status_wrong_use;
    const Plan plan = make_plan(*router, words);
    const Networks networks = networks_of(plan.after.world);
    const auto stated = state_packet(options.packet, networks);
    if (const auto* error = std::get_if<PacketError>(&stated)) {
        complain(error->message);
        return status_wrong_use;
    }
    const Netfilter tables = netfilter_of(plan.after.transcript, plan.before);
    const auto& [packet, assumptions] = std::get<StatedPacket>(stated);
    const Provenance traced = options.no_why ? Provenance() : trace(plan);
    PacketReport report = {.plan = plan,
                           .tables = tables,
                           .provenance = Redaction(plan, traced).provenance(traced),
                           .packet = packet,
                           .assumptions = assumptions,
                           .walk = walk_packet(tables, networks, packet)};
    if (!networks.wan_if.empty() && !networks.addresses.contains(networks.wan_if))
        report.assumptions.push_back(networks.wan_if + " has no address (--wan-address, --world)");
    if (options.json)
        std::cout << packet_json(report);
    else
        print(packet_text(report));
    if (report.walk.verdict == Verdict::Unknown) return status_wrong_use;
    return report.walk.verdict == Verdict::Accept ? status_accepted : status_dropped;
}
