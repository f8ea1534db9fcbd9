// Texts of an archive, in which asterisks stand for secrets.
#ifndef RC_PLAN_INSPECT_HIDDEN_H
#define RC_PLAN_INSPECT_HIDDEN_H

#include <string>
#include <string_view>
#include <vector>

// Whether a text that was found may be the expected one: asterisks stand for any text.
bool fits(std::string_view expected, std::string_view found);

// The lines that were found, each that has asterisks replaced by the expected line that it may be.
std::vector<std::string> without_hidden(const std::vector<std::string>& expected,
                                        std::vector<std::string> found);

#endif
