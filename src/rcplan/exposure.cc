// rcplan exposure: what the firewall lets in, which rules are never used, and what gets past
// blocks.

#include <algorithm>
#include <iostream>
#include <iterator>

#include "core/text.h"
#include "plan/exposure/expectations.h"
#include "plan/exposure/exposure.h"
#include "plan/exposure/moments.h"
#include "plan/netfilter/saved_rules.h"
#include "plan/trace/redaction.h"
#include "rcplan/exposure_json.h"
#include "rcplan/exposure_text.h"
#include "rcplan/files.h"
#include "rcplan/verbs.h"

namespace {

// The same router for `rcplan packet`.
std::string packet_call(const ExposureOptions& options, const std::string& wan_address) {
    std::string call = "rcplan packet";
    if (!options.router.settings_file.empty())
        call += " --settings " + options.router.settings_file;
    for (const std::string& set : options.router.sets) call += " --set '" + set + "'";
    if (!options.router.world_file.empty()) call += " --world " + options.router.world_file;
    if (!options.router.clock.empty()) call += " --clock '" + options.router.clock + "'";
    if (!wan_address.empty()) call += " --wan-address " + wan_address;
    return call;
}

bool has_interface(const Networks& networks, const std::string& name) {
    return name == networks.lan_if || name == networks.wan_if || networks.addresses.contains(name);
}

std::string no_such_interface(const Networks& networks) {
    return ": this router has no such interface; give wan (" + networks.wan_if + "), lan (" +
           networks.lan_if + ") or one of the world file";
}

// The settings behind a firewall's rules, without secrets.
struct TracedRules {
    explicit TracedRules(const Firewall& firewall)
        : traced(trace(firewall.plan, {},
                       [](const Input& input) { return input.kind == Input::Kind::Setting; })),
          provenance(Redaction(firewall.plan, traced).provenance(traced)),
          settings(firewall, provenance) {}

    Provenance traced;
    Provenance provenance;
    RuleSettings settings;
};

// The statements are to hold at all moments; the first one is that of the call.
int check_expectations(const std::vector<const Firewall*>& firewalls, const PacketSpace& space,
                       const std::string& path, const std::string& call) {
    const std::optional<std::string> text = read_file(path);
    if (!text) return status_wrong_use;
    const auto read = read_expectations(*text);
    if (const auto* error = std::get_if<ExpectationError>(&read)) {
        complain(path + ":" + std::to_string(error->line) + ": " + error->message);
        return status_wrong_use;
    }
    int status = status_done;
    for (const Expectation& expected : std::get<std::vector<Expectation>>(read)) {
        // From an interface that is not there nothing comes, and every "never" would hold.
        const Networks& networks = firewalls[0]->networks;
        if (!has_interface(networks, interface_named(networks, expected.from))) {
            complain(path + ":" + std::to_string(expected.line) + ": " + expected.from +
                     no_such_interface(networks));
            return status_wrong_use;
        }
        for (const Firewall* firewall : firewalls) {
            const std::string packet = contradiction(*firewall, space, expected);
            if (packet.empty()) continue;
            status = status_differs;
            const bool now = firewall == firewalls[0];
            print(path + ":" + std::to_string(expected.line) + ": does not hold" +
                  (now ? "" : " " + moment_text(firewall->plan)) + ": " +
                  escape_line(expected.text) + "\n    " + call + " " +
                  (now ? "" : clock_words(firewall->plan) + " ") + packet + "\n");
            break;
        }
    }
    return status;
}

}  // namespace

int exposure_verb(const ExposureOptions& options) {
    const std::vector<std::string> words = rc_words(
        options.words.empty() ? std::vector<std::string>{"firewall", "start"} : options.words);
    std::optional<World> router = router_before(options.router, options.wan_address, words);
    if (!router) return status_wrong_use;
    const std::string assumed = assume_wan_address(*router);
    const std::string& wan_address = assumed.empty() ? options.wan_address : assumed;
    const Plan plan = make_plan(*router, words);
    const Firewall firewall(plan);
    const std::string unread = not_followed(firewall.tables);
    if (!unread.empty()) {
        complain(unread);
        return status_wrong_use;
    }
    const std::string in = interface_named(firewall.networks, options.from);
    if (in.empty()) {
        complain("the settings name no WAN interface; set wan_ifname");
        return status_wrong_use;
    }
    if (!has_interface(firewall.networks, in)) {
        complain("--from " + options.from + no_such_interface(firewall.networks));
        return status_wrong_use;
    }
    const std::optional<World> later = at_other_state(plan);
    const Plan plan_later = make_plan(later.value_or(*router), words);
    const Firewall firewall_later(plan_later);
    const std::string unread_later = not_followed(firewall_later.tables);
    if (!unread_later.empty()) {
        complain(moment_text(plan_later) + ": " + unread_later);
        return status_wrong_use;
    }
    const bool changes = !same_rules(firewall.tables, firewall_later.tables);
    const Netfilter* const tables[] = {&firewall.tables, &firewall_later.tables};
    const PacketSpace space(tables);
    const std::string call = packet_call(options, wan_address);
    if (!options.expect.empty()) {
        std::vector<const Firewall*> firewalls = {&firewall};
        if (changes) firewalls.push_back(&firewall_later);
        return check_expectations(firewalls, space, options.expect, call);
    }

    const TracedRules traced(firewall);
    const Moment now = {.firewall = firewall, .settings = traced.settings};
    std::vector<ExposureRow> rows;
    const auto add = [&rows](std::vector<ExposureRow> more) {
        std::ranges::move(more, std::back_inserter(rows));
    };
    if (changes) {
        const TracedRules traced_later(firewall_later);
        const Moment other = {.firewall = firewall_later, .settings = traced_later.settings};
        add(open_rows_at(now, other, space, in));
        add(schedule_escape_rows(now, other, space));
    } else {
        add(open_rows(firewall, space, now.settings, in));
    }
    add(escape_rows(firewall, space, now.settings));
    add(unused_rows(firewall, space, now.settings));
    if (options.json) {
        for (const ExposureRow& row : rows) std::cout << exposure_json(row);
        return status_done;
    }
    print("Packets arrive with mark 0, in frames to the router's own MAC address.\n");
    if (!assumed.empty())
        print("assumed " + firewall.networks.wan_if + " has the address " + wan_address +
              " (--wan-address, --world)\n");
    print("\n" + exposure_text(rows, in, call));
    return status_done;
}
