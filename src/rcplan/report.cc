// rcplan report: a call of rc as an HTML page.

#include "plan/report/report.h"

#include <stdlib.h>
#include <time.h>

#include "core/text.h"
#include "rcplan/files.h"
#include "rcplan/verbs.h"

namespace {

// The time in UTC. SOURCE_DATE_EPOCH, if it is set, replaces the clock, so that a page can be made
// again byte for byte.
std::string date_text() {
    const char* stated = getenv("SOURCE_DATE_EPOCH");
    const std::optional<long long> seconds = stated ? scan_number(stated) : std::nullopt;
    const time_t now = seconds ? static_cast<time_t>(*seconds) : time(nullptr);
    tm utc = {};
    gmtime_r(&now, &utc);
    char text[64];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M UTC", &utc);
    return text;
}

}  // namespace

int report_verb(const ReportOptions& options) {
    if (!is_output_name(options.page, "rcplan report FILE WORDS")) return status_wrong_use;
    const std::vector<std::string> words = rc_words(options.words);
    const std::optional<StatedRouter> router = read_router(options.router);
    if (!router) return status_wrong_use;
    const Plan plan = make_plan(router->before(words), words);
    const ReportSource source = {.settings_file = options.router.settings_file,
                                 .sets = options.router.sets,
                                 .world_file = options.router.world_file,
                                 .date = date_text(),
                                 .version = "rcplan " RC_VERSION};
    return write_file(options.page, report_html(plan, trace(plan), source)) ? status_done
                                                                            : status_wrong_use;
}
