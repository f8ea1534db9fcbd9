// Regular expressions for values, in what ECMA-262 and Python's re have in common.
#ifndef RC_REFERENCE_PATTERNS_H
#define RC_REFERENCE_PATTERNS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "settings/table.h"

// Decimal numbers from low to high; zeros may stand before them.
std::string number_pattern(std::int64_t low, std::int64_t high);

// Text that stands for itself.
std::string literal_pattern(std::string_view text);

// A legal value from its first to its last character, without anchors. Of text without a form of
// its own it is empty: only its length counts.
std::string value_pattern(const nvram::KnownSetting& setting);

#endif
