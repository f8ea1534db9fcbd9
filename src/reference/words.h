// A setting's row in plain English, without markup.
#ifndef RC_REFERENCE_WORDS_H
#define RC_REFERENCE_WORDS_H

#include <string>
#include <string_view>
#include <vector>

#include "nvram/known_settings.h"

// The words of a list that blanks part.
std::vector<std::string_view> split_words(std::string_view text);

// "a number from 1 to 65535". The words of a choice are not named.
std::string form_in_words(const nvram::KnownSetting& setting);
std::string form_in_words(const nvram::Field& field);

// Which records, how many, and what parts them.
std::string list_in_words(const nvram::Record& record);

// A value as a text image holds it: bytes below 0x20, 0x7f and the backslash escaped.
std::string escaped(std::string_view value);

// The first letter a capital, unless the first word is a name, and a full stop at the end.
std::string sentence(std::string_view clause);

#endif
