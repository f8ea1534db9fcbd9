// What a change of the settings opens and closes for connections from the WAN.

#include "rcplan/diff_exposure.h"

#include <fmt/format.h>

#include "plan/exposure/openings.h"
#include "plan/trace/redaction.h"
#include "rcplan/exposure_json.h"
#include "rcplan/exposure_text.h"
#include "rcplan/json.h"

namespace {

const std::vector<std::string> firewall_start = {"rc", "firewall", "start"};

World router_of(const Settings& settings, const std::optional<World>& world, std::string& assumed) {
    World router = router_with(world.value_or(World{}), settings, firewall_start);
    const std::string address = assume_wan_address(router);
    if (!address.empty()) assumed = address;
    return router;
}

std::vector<ExposureRow> beyond(const Plan& plan, const Firewall& firewall, const Firewall& other,
                                const PacketSpace& space, const std::string& in) {
    // Finding the settings behind the rules takes longest.
    if (openings_beyond(firewall, other, space, in).empty()) return {};
    const Provenance traced = trace(plan);
    const Provenance provenance = Redaction(plan, traced).provenance(traced);
    return opened_rows(firewall, other, space, RuleSettings(firewall, provenance), in);
}

std::string rows_text(const std::vector<ExposureRow>& rows, const char* title,
                      const std::string& in, const char* call) {
    if (rows.empty()) return "";
    std::string text = fmt::format("\n{} for connections from {}\n", title, in);
    for (const ExposureRow& row : rows) text += row_text(row, call);
    return text;
}

}  // namespace

ExposureChange exposure_change(const Settings& a, const Settings& b,
                               const std::optional<World>& world) {
    ExposureChange change;
    const Plan plan_a = make_plan(router_of(a, world, change.assumed), firewall_start);
    const Plan plan_b = make_plan(router_of(b, world, change.assumed), firewall_start);
    const Firewall firewall_a(plan_a);
    const Firewall firewall_b(plan_b);
    change.in_a = firewall_a.networks.wan_if;
    change.in_b = firewall_b.networks.wan_if;
    for (const Firewall* each : {&firewall_a, &firewall_b})
        if (change.unknown.empty()) change.unknown = not_followed(each->tables);
    // Parts of settings, which say nothing of a WAN.
    if (change.in_a.empty() && change.in_b.empty()) return change;
    if (change.in_a.empty() || change.in_b.empty())
        change.unknown = "the settings name no WAN interface; set wan_ifname";
    if (!change.unknown.empty()) return change;
    const Netfilter* const tables[] = {&firewall_a.tables, &firewall_b.tables};
    const PacketSpace space(tables);
    change.opened = beyond(plan_b, firewall_b, firewall_a, space, change.in_b);
    change.closed = beyond(plan_a, firewall_a, firewall_b, space, change.in_a);
    return change;
}

std::string exposure_change_text(const ExposureChange& change) {
    if (!change.unknown.empty()) return "\nwhat B opens is not known: " + change.unknown + "\n";
    const std::string address = change.assumed.empty() ? "" : " --wan-address " + change.assumed;
    std::string text = rows_text(change.opened, "B opens", change.in_b,
                                 ("rcplan packet --settings B" + address).c_str()) +
                       rows_text(change.closed, "B closes", change.in_a,
                                 ("rcplan packet --settings A" + address).c_str());
    if (text.empty() && !change.in_b.empty())
        text = "\nB opens and closes nothing for connections from " + change.in_b + "\n";
    return text;
}

std::string exposure_change_json(const ExposureChange& change) {
    if (!change.unknown.empty()) {
        Json object;
        object["type"] = "exposure";
        object["change"] = "unknown";
        put_text(object, "reason", change.unknown);
        return json_line(object);
    }
    std::string text;
    for (const ExposureRow& row : change.opened) text += exposure_json(row, "opens");
    for (const ExposureRow& row : change.closed) text += exposure_json(row, "closes");
    return text;
}
