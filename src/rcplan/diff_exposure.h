// What a change of the settings opens and closes.
#ifndef RC_RCPLAN_DIFF_EXPOSURE_H
#define RC_RCPLAN_DIFF_EXPOSURE_H

#include <optional>
#include <string>
#include <vector>

#include "plan/exposure/exposure.h"
#include "plan/router/settings.h"
#include "plan/router/world.h"

struct ExposureChange {
    // The WAN's interface with A and with B, and its address if it is assumed.
    std::string in_a;
    std::string in_b;
    std::string assumed;
    std::vector<ExposureRow> opened;
    std::vector<ExposureRow> closed;
    // Why it cannot be told; empty if it can.
    std::string unknown;

    bool differs() const { return !opened.empty() || !closed.empty(); }
};

ExposureChange exposure_change(const Settings& a, const Settings& b,
                               const std::optional<World>& world);

std::string exposure_change_text(const ExposureChange& change);
std::string exposure_change_json(const ExposureChange& change);

#endif
