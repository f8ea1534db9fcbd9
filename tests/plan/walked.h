// Packets as short texts, and the firewall's verdicts on them.
#ifndef RC_TESTS_PLAN_WALKED_H
#define RC_TESTS_PLAN_WALKED_H

#include <gtest/gtest.h>

#include "core/text.h"
#include "plan/netfilter/packet_options.h"
#include "plan/netfilter/packet_walk.h"
#include "plan/router/plan.h"
#include "plan/router/settings.h"

// "in=br0 proto=tcp dst=10.0.0.2 dport=80 over-limit"; in a payload "+" means a blank.
inline PacketOptions options_of(std::string_view text) {
    struct Row {
        std::string_view name;
        std::string PacketOptions::*member;
    };
    static constexpr Row rows[] = {{"in", &PacketOptions::in},
                                   {"out", &PacketOptions::out},
                                   {"proto", &PacketOptions::protocol},
                                   {"src", &PacketOptions::source},
                                   {"dst", &PacketOptions::destination},
                                   {"sport", &PacketOptions::source_port},
                                   {"dport", &PacketOptions::destination_port},
                                   {"state", &PacketOptions::state},
                                   {"flags", &PacketOptions::flags},
                                   {"icmp-type", &PacketOptions::icmp_type},
                                   {"mss", &PacketOptions::mss},
                                   {"mac-source", &PacketOptions::mac_source},
                                   {"mac-dest", &PacketOptions::mac_dest},
                                   {"mark", &PacketOptions::mark},
                                   {"string", &PacketOptions::payload}};
    PacketOptions options;
    while (!text.empty()) {
        std::string_view value = take_field(text, ' ');
        const std::string_view name = take_field(value, '=');
        if (name == "syn") options.syn = true;
        if (name == "from-router") options.from_router = true;
        if (name == "over-limit") options.over_limit = true;
        if (name == "not-drawn") options.not_drawn = true;
        for (const Row& row : rows)
            if (row.name == name) {
                options.*row.member = value;
                for (char& c : options.*row.member)
                    if (c == '+') c = ' ';
            }
    }
    return options;
}

// The walk of a packet with valid options.
inline Walk walk_of(const Netfilter& tables, const Networks& networks, std::string_view packet) {
    const auto stated = state_packet(options_of(packet), networks);
    if (const auto* error = std::get_if<PacketError>(&stated)) {
        ADD_FAILURE() << packet << ": " << error->message;
        return {};
    }
    return walk_packet(tables, networks, std::get<StatedPacket>(stated).packet);
}

// The tables after a script that is written and run.
inline Netfilter tables_after(const std::string& script) {
    Transcript transcript;
    transcript.add_with_body("write", "/tmp/rules", script);
    transcript.add("run", "/bin/sh /tmp/rules");
    return netfilter_of(transcript);
}

inline const Settings usual = {{"fw_nat", "1"},
                               {"lan_if", "br0"},
                               {"lan_ipaddr", "192.168.1.1"},
                               {"lan_netmask", "255.255.255.0"},
                               {"wan_ifname", "eth2.2"},
                               {"wan_mode", "ip"},
                               {"wan_mtu", "1500"}};

// A firewall with the usual settings and additional ones.
class Router {
  public:
    explicit Router(const Settings& own = {},
                    const std::vector<std::string>& action = {"firewall", "start"}) {
        Settings settings = own;
        settings.insert(usual.begin(), usual.end());
        world_.put(working_copy, settings_image(settings));
        world_.interfaces["eth2.2"].address = "10.0.0.2";
        words_.insert(words_.end(), action.begin(), action.end());
    }
    World& world() { return world_; }
    const World& world_in_force() const { return world_; }

    Walk walk(std::string_view packet) const {
        const Plan plan = make_plan(world_, words_);
        return walk_of(netfilter_of(plan.after.transcript, plan.before),
                       networks_of(plan.after.world), packet);
    }
    std::string verdict(std::string_view packet) const { return walk(packet).verdict_text(); }

  private:
    World world_;
    std::vector<std::string> words_ = {"rc"};
};

// The effects of the rules that matched and have one, in order.
inline std::string effects(const Walk& walk) {
    std::string text;
    for (const WalkStep& step : walk.steps)
        if (step.kind == WalkStep::Kind::Rule && !step.effect.empty())
            text += (text.empty() ? "" : "; ") + step.table + ": " + step.effect;
    return text;
}

#endif
