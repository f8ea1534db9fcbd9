// The forms that values have: whether a text is of a form, and the form in words.
#ifndef RC_SETTINGS_FORMS_H
#define RC_SETTINGS_FORMS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "settings/table.h"

namespace nvram {

// A form with its limits, of a setting or of a record's field.
struct Limits {
    Form form;
    std::int32_t low = 0;
    std::int32_t high = 0;
    const char* choices = "";
};

Limits limits_of(const KnownSetting& known);
Limits limits_of(const Field& field);

// The words of a choice; none when there are none.
std::vector<std::string_view> words_of(const char* choices);

// "a number from 1 to 65535": follows "such as" or comes before "is wanted".
std::string wanted(const Limits& limits);

// What is wrong with a text that is not empty, as follows its name: "is no number: ... is wanted".
// Empty when nothing is. A text that is merely too long is legal, and so is any record.
std::string form_problem(const Limits& limits, std::string_view text);

// The number that a text is when it is nothing else; a '-' may come first.
std::optional<long long> plain_number(std::string_view text);

// A pair of hexadecimal digits, six times, parted by colons.
bool is_mac(std::string_view text);

bool is_hex(std::string_view text);

// How many characters have to be put in, left out or changed to make one text of the other; case
// does not count. Above limit it is only told that it is above.
std::size_t edit_distance(std::string_view one, std::string_view other, std::size_t limit);

}  // namespace nvram

#endif
