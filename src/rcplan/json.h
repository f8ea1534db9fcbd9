// Texts of a router in JSON objects (RFC 8259). They are bytes: those that are no UTF-8 come as
// U+FFFD, and the whole text once more in hexadecimal digits.
#ifndef RC_RCPLAN_JSON_H
#define RC_RCPLAN_JSON_H

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "plan/trace/influence.h"

using Json = nlohmann::ordered_json;

// The object on a line of its own.
std::string json_line(const Json& object);
// Under this name, and under "<name>_hex" as far as needed.
void put_text(Json& object, const char* name, const std::string& text);
// What a line comes from, one object each.
Json influences(const std::vector<Influence>& list);

#endif
