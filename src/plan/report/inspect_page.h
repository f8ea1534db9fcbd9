// A router's deviations as one self-contained HTML page, without a script.
#ifndef RC_PLAN_REPORT_INSPECT_PAGE_H
#define RC_PLAN_REPORT_INSPECT_PAGE_H

#include <string>
#include <vector>

#include "plan/exposure/exposure.h"
#include "plan/inspect/deviation.h"

struct InspectedSource {
    std::string bundle;
    // When rc-bundle looked, and when the page was made.
    std::string looked;
    std::string date;
    std::string version;
};

std::string inspection_html(const std::vector<Deviation>& deviations,
                            const std::vector<ExposureRow>& open, const InspectedSource& source);

#endif
