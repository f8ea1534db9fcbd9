// What is tried in the place of a setting's or a field's value, and the condition that tells those
// values with which rc writes a line from the others.
#ifndef RC_PLAN_TRACE_SINK_CONDITION_H
#define RC_PLAN_TRACE_SINK_CONDITION_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "settings/table.h"

// A choice with more words is tried with these many.
inline constexpr size_t most_words = 14;

// Some lines hold only texts of a MAC address's length.
inline constexpr const char* other_mac = "02:11:22:33:44:77";

// Letters that no line of rc's holds; short, since some fields of records are. In an address's
// place with dots, so that a part of it is not taken for the whole.
std::string token_of(size_t number, nvram::Form form);

// A setting's or a field's own value, and others that its form and its choices suggest.
std::vector<std::string> values_to_try(nvram::Form form, const char* choices,
                                       const std::string& own);

// Values, and whether rc still writes the line with each.
using Samples = std::map<std::string, bool>;

// The shortest condition, as nvram::Sink has them, that tells the values apart, without the key; ""
// if rc writes the line with each, nullopt if no condition does.
std::optional<std::string> condition_of(const Samples& samples, nvram::Form form);

#endif
