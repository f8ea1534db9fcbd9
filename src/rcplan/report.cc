// rcplan report: a call of rc as an HTML page.

#include <iostream>
#include <memory>

#include "plan/report/report.h"
#include "rcplan/files.h"
#include "rcplan/verbs.h"

namespace {}  // namespace

int report_verb(const ReportOptions& options) {
    const std::vector<std::string> words = rc_words(options.words);
    const std::optional<World> router = stated_router(options.router, words);
    if (!router) return status_wrong_use;
    const Plan plan = make_plan(*router, words);
    return write_file(options.page, report_html(plan, trace(plan))) ? status_done
                                                                    : status_wrong_use;
}
