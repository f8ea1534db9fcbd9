// A setting's row in plain English, without markup.
#ifndef RC_REFERENCE_WORDS_H
#define RC_REFERENCE_WORDS_H

#include <string>
#include <string_view>
#include <vector>

#include "settings/table.h"

// The words of a list that blanks part, or '|' where one of them holds a blank.
std::vector<std::string_view> split_words(std::string_view text);

// What a value looks like, in parts, since words that stand for themselves are marked up.
struct FormInWords {
    std::string form;                     // "a number from 1 to 65535"
    const char* before_words = "";        // ", or": words that are legal besides the form
    std::vector<std::string_view> words;  // of a choice, or legal besides
    bool or_empty = false;
    std::string limit = {};  // "; the first 15 are used"
};

FormInWords in_words(const nvram::KnownSetting& setting);
FormInWords in_words(const nvram::Field& field);

// The parts as one text.
std::string joined(const FormInWords& parts);

// A value as a text image holds it: bytes below 0x20, 0x7f and the backslash escaped.
std::string escaped(std::string_view value);

// The first letter a capital, unless the first word is a name, and a full stop at the end.
std::string sentence(std::string_view clause);

#endif
