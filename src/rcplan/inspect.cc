// rcplan inspect: a router's archive, compared with what rc would make of its settings.

#include <stdio.h>
#include <sys/wait.h>

#include <algorithm>
#include <iostream>

#include "plan/exposure/exposure.h"
#include "plan/inspect/inspect.h"
#include "plan/report/inspect_page.h"
#include "rcplan/exposure_json.h"
#include "rcplan/files.h"
#include "rcplan/inspect_text.h"
#include "rcplan/page_date.h"
#include "rcplan/verbs.h"

namespace {

std::string count_text(size_t count) {
    if (count == 0) return "Nothing deviates.";
    return count == 1 ? "1 deviation." : std::to_string(count) + " deviations.";
}

std::variant<Bundle, BundleError> read_live(const std::string& command) {
    FILE* const output = popen(command.c_str(), "r");
    if (!output) return BundleError{"cannot be started"};
    auto read = read_bundle(fileno(output));
    const int status = pclose(output);
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        return BundleError{"ended with status " + std::to_string(WEXITSTATUS(status))};
    return read;
}

// What connections from the Internet meet; none if the firewall has not been started, or if its
// rules are not understood here. With the settings behind it, it takes several times as long.
std::vector<ExposureRow> open_now(const ExpectedRouter& expected, bool with_settings) {
    const Step* const start = expected.firewall();
    if (!start) return {};
    const Firewall firewall(start->plan);
    const std::string& wan = firewall.networks.wan_if;
    if (!not_followed(firewall.tables).empty() || !firewall.networks.addresses.contains(wan))
        return {};
    const Netfilter* const tables[] = {&firewall.tables};
    const PacketSpace space(tables);
    const Provenance provenance = with_settings ? trace(start->plan) : Provenance();
    std::vector<ExposureRow> rows =
        open_rows(firewall, space, RuleSettings(firewall, provenance), wan);
    // The sets end with their space.
    for (ExposureRow& row : rows) row.packets = PacketSet();
    return rows;
}

void print_all(const std::vector<Deviation>& list, const std::vector<ExposureRow>& open,
               size_t count) {
    for (const Deviation& deviation : list) print(deviation_text(deviation) + "\n");
    print(count_text(count) + "\n\nOpen from the Internet, by the rules that rc makes:\n");
    for (const ExposureRow& row : open) print("    " + open_text(row) + "\n");
    if (open.empty()) print("    nothing\n");
}

}  // namespace

int inspect_verb(const InspectOptions& options) {
    if (options.bundle.empty() && options.live.empty()) {
        complain("name the archive: rcplan inspect BUNDLE");
        return status_wrong_use;
    }
    const std::string& name = options.live.empty() ? options.bundle : options.live;
    const auto read = options.live.empty() ? read_bundle(name) : read_live(name);
    if (const auto* const error = std::get_if<BundleError>(&read)) {
        complain(name + ": " + error->message);
        return status_wrong_use;
    }
    const auto& bundle = std::get<Bundle>(read);
    const FoundRouter found = found_router(bundle);
    const ExpectedRouter expected(found);
    const std::vector<Deviation> list = deviations(bundle, found, expected);
    const std::vector<ExposureRow> open = open_now(expected, options.json || !options.page.empty());
    const auto count = static_cast<size_t>(std::ranges::count(list, false, &Deviation::note));
    if (options.json) {
        for (const Deviation& deviation : list) std::cout << deviation_json(deviation);
        for (const ExposureRow& row : open) std::cout << exposure_json(row, "");
    } else {
        print_all(list, open, count);
    }
    if (!options.settings.empty() && !write_file(options.settings, settings_image(found.settings)))
        return status_wrong_use;
    if (!options.page.empty() &&
        !write_file(options.page, inspection_html(list, open,
                                                  {.bundle = name,
                                                   .looked = date_text(found.clock),
                                                   .date = page_date(),
                                                   .version = "rcplan " RC_VERSION})))
        return status_wrong_use;
    return count == 0 ? status_done : status_differs;
}
