// What is open, as JSON.
#ifndef RC_RCPLAN_EXPOSURE_JSON_H
#define RC_RCPLAN_EXPOSURE_JSON_H

#include <string>

#include "plan/exposure/exposure.h"

// One object on one line. `change` is "opens" or "closes" in a comparison, otherwise empty.
std::string exposure_json(const ExposureRow& row, const std::string& change = "");

#endif
