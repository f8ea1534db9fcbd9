// What a router's tools printed, with arbitrary text in it. Members are separated by form feeds;
// each begins with a line that is its name.

#include <algorithm>

#include "core/text.h"
#include "expect.h"
#include "plan/inspect/hidden.h"
#include "plan/inspect/inspect.h"
#include "plan/netfilter/listed_rules.h"

namespace {

Bundle bundle_in(std::string_view text) {
    Bundle bundle;
    bundle.members = {{"about", "date 1800000000\n"}, {"settings", "lan_if=br0\nwan_mode=dhcpc\n"}};
    while (!text.empty()) {
        std::string_view content = take_field(text, '\f');
        const std::string name(take_field(content, '\n'));
        bundle.members[name] = content;
    }
    return bundle;
}

void expect_sound(const FoundRouter& found) {
    constexpr int most_ids = 1 << 22;
    for (const FoundProcess& process : found.processes) {
        expect(process.pid > 0 && process.pid <= most_ids, "a process id");
        expect(!process.command.empty() && process.command[0] != ' ', "a process has a command");
        expect(found.has_process(process.pid) && found.has_program(process.name()), "it is there");
    }
    for (const FoundRoute& route : found.routes)
        expect(!route.destination.empty() && !route.interface.empty(), "a route is whole");
    for (const std::string& secret : found.stand_ins)
        expect(secret.size() <= 4096, "a stand-in is no longer than a setting");
    expect(found.flash_settings().size() <= found.settings.size() + found.uncommitted.size(),
           "settings in flash are known or uncommitted");
    expect(!found.world().files.contains(""), "a file has a path");
}

// Both readings keep every rule of the chains that they know, in order, or say why not.
void expect_sound(const SavedRules& rules) {
    size_t counted = 0;
    size_t kept = 0;
    for (const auto& [place, packets] : rules.packets) counted += packets.size();
    for (const Chain& chain : rules.tables.chains) {
        if (rules.packets.contains({chain.table, chain.name})) kept += chain.rules.size();
        for (const Rule& rule : chain.rules) {
            const std::string text = canonical_text(rule);
            expect(fits(text, text) || contains(text, hidden_text), "a rule is like itself");
        }
    }
    expect(counted <= kept + rules.tables.refused.size(), "a counter belongs to a rule");
}

// A start of rc that does not depend on the input.
const ExpectedRouter& expected_router() {
    static const ExpectedRouter expected(found_router(bundle_in("")));
    return expected;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bundle bundle = bundle_in({reinterpret_cast<const char*>(data), size});
    const FoundRouter found = found_router(bundle);
    expect_sound(found);
    expect_sound(read_saved_rules(bundle.output("iptables-save")));
    expect_sound(read_listed_rules({{"filter", bundle.output("iptables.filter")},
                                    {"nat", bundle.output("iptables.nat")},
                                    {"mangle", bundle.output("iptables.mangle")}}));
    Deviations list;
    inspect_traps(found, list);
    inspect_links(found, expected_router(), list);
    inspect_processes(found, expected_router(), list);
    for (const Deviation& deviation : list)
        expect(!deviation.what.empty() && !deviation.fix.empty(),
               "a deviation says what it is and what to do");
    return 0;
}
