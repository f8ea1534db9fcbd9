// A router's texts in JSON objects (RFC 8259). Texts are bytes: invalid UTF-8 is written as U+FFFD,
// and the whole text is added in hexadecimal digits.
#ifndef RC_RCPLAN_JSON_H
#define RC_RCPLAN_JSON_H

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "plan/trace/influence.h"

using Json = nlohmann::ordered_json;

// The object on one line of ASCII, with a newline.
std::string json_line(const Json& object);
// Adds the text under this name and, if it is not valid UTF-8, under "<name>_hex".
void put_text(Json& object, const char* name, const std::string& text);
// The influences on a line, one object each.
Json influences(const std::vector<Influence>& list);

#endif
