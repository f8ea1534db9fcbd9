// The forms that values have: whether a text is of a form, and the form in words.
#ifndef RC_SETTINGS_FORMS_H
#define RC_SETTINGS_FORMS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "settings/records.h"
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

// The form in words, as follows "expected": "a number from 1 to 65535".
std::string form_text(const Limits& limits);

// The error in a text that is not empty, in words that follow its name: "is not a number; expected
// a number from 1 to 65535". Empty if the text is legal; a text that is too long and any record are
// legal here.
std::string form_problem(const Limits& limits, std::string_view text);

// The number, if the text is a decimal number and nothing else; a '-' may come first.
std::optional<long long> plain_number(std::string_view text);

// Six pairs of hexadecimal digits, separated by colons.
bool is_mac(std::string_view text);

// "is a multicast address", if no host can have the address; "" if one can.
const char* unusable_address(std::uint32_t address);

// Bytes that no line, header or list of text takes: those below a space, and DEL.
bool is_control(char c);

// The start of a text, at most limit bytes of it, without half a letter (UTF-8) at its end.
std::string_view whole_letters(std::string_view text, std::size_t limit);

bool is_hex(std::string_view text);

// Whether two texts are equal; case does not count.
bool same_letters(std::string_view one, std::string_view other);

// The number of characters to insert, delete or change to turn one text into the other; case
// does not count. Returns some number above limit if the distance is above limit.
std::size_t edit_distance(std::string_view one, std::string_view other, std::size_t limit);

}  // namespace nvram

#endif
