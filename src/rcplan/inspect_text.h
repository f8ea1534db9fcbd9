// A router's deviations, as text and as JSON.
#ifndef RC_RCPLAN_INSPECT_TEXT_H
#define RC_RCPLAN_INSPECT_TEXT_H

#include <string>

#include "plan/inspect/deviation.h"

std::string deviation_text(const Deviation& deviation);
// One object on a line.
std::string deviation_json(const Deviation& deviation);

#endif
