// Regular expressions for values, in what ECMA-262 and Python's re have in common.
#ifndef RC_REFERENCE_PATTERNS_H
#define RC_REFERENCE_PATTERNS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "settings/table.h"

// Decimal numbers from low to high, with any leading zeros.
std::string number_pattern(std::int64_t low, std::int64_t high);

// Literal text.
std::string literal_pattern(std::string_view text);

// A whole legal value that is not empty, without anchors.
std::string value_pattern(const nvram::KnownSetting& setting);

#endif
