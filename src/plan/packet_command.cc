// rcplan packet: what the firewall does with a packet, which rule decides, and the settings behind
// it.

#include <iostream>

#include "plan/commands.h"
#include "plan/packet_options.h"
#include "plan/packet_report.h"

namespace {

constexpr int status_accepted = 0;
constexpr int status_dropped = 1;

struct Options {
    RouterOptions router;
    PacketOptions packet;
    std::string wan_address;
    std::vector<std::string> words;
    bool json = false;
    bool no_why = false;
};

// The router that the rules are made on.
std::optional<World> router_of(const Options& options, const std::vector<std::string>& words) {
    std::optional<World> router = stated_router(options.router, words);
    if (!router || options.wan_address.empty()) return router;
    const std::string wan_if = surroundings_of(*router).wan_if;
    if (!read_address(options.wan_address) || wan_if.empty()) {
        complain(wan_if.empty() ? "the settings name no interface of the WAN (wan_ifname)"
                                : "--wan-address takes an address such as 203.0.113.7");
        return std::nullopt;
    }
    router->interfaces[wan_if].address = options.wan_address;
    return router;
}

int walk(const Options& options) {
    const std::vector<std::string> words = rc_words(
        options.words.empty() ? std::vector<std::string>{"firewall", "start"} : options.words);
    const std::optional<World> router = router_of(options, words);
    if (!router) return status_wrong_use;
    const Plan plan = make_plan(*router, words);
    const Surroundings surroundings = surroundings_of(plan.after.world);
    const auto stated = state_packet(options.packet, surroundings);
    if (const auto* error = std::get_if<PacketError>(&stated)) {
        complain(error->message);
        return status_wrong_use;
    }
    const Netfilter tables = netfilter_of(plan.after.transcript, plan.before);
    const auto& [packet, assumptions] = std::get<StatedPacket>(stated);
    PacketReport report = {.plan = plan,
                           .tables = tables,
                           .provenance = options.no_why ? Provenance() : trace(plan),
                           .packet = packet,
                           .assumptions = assumptions,
                           .walk = walk_packet(tables, surroundings, packet)};
    if (!surroundings.wan_if.empty() && !surroundings.addresses.contains(surroundings.wan_if))
        report.assumptions.push_back(surroundings.wan_if +
                                     " has no address (--wan-address, --world)");
    std::cout << (options.json ? packet_json(report) : packet_text(report));
    if (report.walk.verdict == Verdict::Unknown) return status_wrong_use;
    return report.walk.verdict == Verdict::Accept ? status_accepted : status_dropped;
}

struct TextOption {
    const char* name;
    std::string PacketOptions::*text;
    const char* type;
    const char* description;
};
constexpr TextOption text_options[] = {
    {"--proto", &PacketOptions::protocol, "P", "tcp, udp, icmp, another name or a number"},
    {"--src", &PacketOptions::source, "ADDRESS", "where it comes from"},
    {"--dst", &PacketOptions::destination, "ADDRESS", "where it goes to"},
    {"--sport", &PacketOptions::source_port, "PORT", "the port that it comes from"},
    {"--dport", &PacketOptions::destination_port, "PORT", "the port that it goes to"},
    {"--in", &PacketOptions::in, "IF", "the interface that it comes in by"},
    {"--out", &PacketOptions::out, "IF", "the interface that it leaves by"},
    {"--state", &PacketOptions::state, "STATE", "new, established, related or invalid"},
    {"--flags", &PacketOptions::flags, "FLAGS", "TCP flags, such as SYN,ACK"},
    {"--mss", &PacketOptions::mss, "N", "the segment size that a SYN announces"},
    {"--icmp-type", &PacketOptions::icmp_type, "TYPE", "a name or a number"},
    {"--mac-source", &PacketOptions::mac_source, "MAC", "who sent it on the last link"},
    {"--mac-dest", &PacketOptions::mac_dest, "MAC", "whom it was sent to on the last link"},
    {"--mark", &PacketOptions::mark, "N", "the kernel's mark that it has already"},
    {"--string", &PacketOptions::payload, "TEXT", "what it carries, or a part of it"},
};

}  // namespace

void add_packet(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "packet", "tells what the firewall does with a packet, and which rule and settings decide");
    const auto options = std::make_shared<Options>();
    add_router_options(*command, options->router);
    command
        ->add_option("--wan-address", options->wan_address,
                     "the address of the WAN's interface, where no world states it")
        ->type_name("ADDRESS");
    for (const TextOption& option : text_options)
        command->add_option(option.name, options->packet.*option.text, option.description)
            ->type_name(option.type);
    command->add_flag("--syn", options->packet.syn, "--flags SYN");
    command->add_flag("--from-router", options->packet.from_router, "the router itself sends it");
    command->add_flag("--over-limit", options->packet.over_limit,
                      "it is beyond the limits of rules that have one");
    command->add_flag("--not-drawn", options->packet.not_drawn,
                      "rules that leave it to chance do not take it");
    command->add_flag("--json", options->json, "one JSON object");
    command->add_flag("--no-why", options->no_why,
                      "without the settings behind the rules, which take the time");
    command
        ->add_option("WORDS", options->words,
                     "what rc is called with before, if not: firewall start")
        ->type_name("");
    command->positionals_at_end();
    command->footer("Exit status: 0 accepted, 1 dropped, 2 unknown or wrong use.");
    command->callback([options, &status] { status = walk(*options); });
}
