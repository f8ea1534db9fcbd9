// Texts as JSON (RFC 8259).
#ifndef RC_NVRAM_JSON_H
#define RC_NVRAM_JSON_H

#include <string>
#include <string_view>

namespace nvram {

// Appends a text as a JSON string. A byte that is not valid UTF-8 is written as an image escapes
// it: \xff. A character that could control a terminal is written as JSON escapes it.
void append_json(std::string& out, std::string_view text);

// Appends "name":, after a comma if the object has a member already.
void append_json_name(std::string& out, std::string_view name);

// Appends the words of a list, separated by spaces, as an array of strings.
void append_json_words(std::string& out, std::string_view words);

}  // namespace nvram

#endif
