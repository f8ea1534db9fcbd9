// rcplan inspect: a router's archive, compared with what rc would make of its settings.

#include <algorithm>
#include <iostream>

#include "plan/inspect/inspect.h"
#include "rcplan/files.h"
#include "rcplan/inspect_text.h"
#include "rcplan/verbs.h"

namespace {

std::string count_text(size_t count) {
    if (count == 0) return "Nothing deviates.";
    return count == 1 ? "1 deviation." : std::to_string(count) + " deviations.";
}

}  // namespace

int inspect_verb(const InspectOptions& options) {
    const auto read = read_bundle(options.bundle);
    if (const auto* const error = std::get_if<BundleError>(&read)) {
        complain(options.bundle + ": " + error->message);
        return status_wrong_use;
    }
    const auto& bundle = std::get<Bundle>(read);
    const FoundRouter found = found_router(bundle);
    const std::vector<Deviation> list = deviations(bundle, found, ExpectedRouter(found));
    for (const Deviation& deviation : list)
        if (options.json)
            std::cout << deviation_json(deviation);
        else
            print(deviation_text(deviation) + "\n");
    const auto count = static_cast<size_t>(std::ranges::count(list, false, &Deviation::note));
    if (!options.json) print(count_text(count) + "\n");
    return count == 0 ? status_done : status_differs;
}
