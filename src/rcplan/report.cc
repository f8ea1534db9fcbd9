// rcplan report: a call of rc as an HTML page.

#include "plan/report/report.h"

#include "rcplan/files.h"
#include "rcplan/page_date.h"
#include "rcplan/verbs.h"

int report_verb(const ReportOptions& options) {
    if (!is_output_name(options.page, "rcplan report FILE WORDS")) return status_wrong_use;
    const std::vector<std::string> words = rc_words(options.words);
    const std::optional<StatedRouter> router = read_router(options.router);
    if (!router) return status_wrong_use;
    const Plan plan = make_plan(router->before(words), words);
    const ReportSource source = {.settings_file = options.router.settings_file,
                                 .sets = options.router.sets,
                                 .world_file = options.router.world_file,
                                 .date = page_date(),
                                 .version = "rcplan " RC_VERSION};
    return write_file(options.page, report_html(plan, trace(plan), source)) ? status_done
                                                                            : status_wrong_use;
}
