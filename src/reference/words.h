// A setting's row in plain English, without markup.
#ifndef RC_REFERENCE_WORDS_H
#define RC_REFERENCE_WORDS_H

#include <string>
#include <string_view>
#include <vector>

#include "settings/table.h"

// The words of a list, separated by spaces, or by '|' if one of them contains a space.
std::vector<std::string_view> split_words(std::string_view text);

// The form of a value, in parts, since literal words get markup.
struct FormInWords {
    std::string form;                     // "a number from 1 to 65535"
    const char* before_words = "";        // ", or": words that are legal too
    std::vector<std::string_view> words;  // of a choice, or legal too
    bool or_empty = false;
    std::string limit = {};  // "; the first 15 are used"
};

FormInWords in_words(const nvram::KnownSetting& setting);
FormInWords in_words(const nvram::Field& field);

// The parts as one text.
std::string joined(const FormInWords& parts);

// A value as a text image contains it: bytes below 0x20, 0x7f and the backslash escaped.
std::string escaped(std::string_view value);

// Starts with a capital, unless the first word is a name, and ends with a full stop.
std::string sentence(std::string_view clause);

#endif
