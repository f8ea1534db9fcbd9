// What is open, as text.
#ifndef RC_RCPLAN_EXPOSURE_TEXT_H
#define RC_RCPLAN_EXPOSURE_TEXT_H

#include <string>
#include <vector>

#include "plan/exposure/exposure.h"

// One row; `call` is the beginning of the `rcplan packet` call that shows it.
std::string row_text(const ExposureRow& row, const std::string& call);
// All rows under their titles; "Nothing." if there is no opening.
std::string exposure_text(const std::vector<ExposureRow>& rows, const std::string& from,
                          const std::string& call);

#endif
