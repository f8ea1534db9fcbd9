// A router's texts in JSON objects (RFC 8259).

#include "rcplan/json.h"

#include <fmt/format.h>

namespace {

bool is_utf8(const std::string& text) {
    try {
        (void)Json(text).dump();
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

}  // namespace

std::string json_line(const Json& object) {
    return object.dump(-1, ' ', true, Json::error_handler_t::replace) + "\n";
}

void put_text(Json& object, const char* name, const std::string& text) {
    object[name] = text;
    if (is_utf8(text)) return;
    std::string digits;
    for (const char c : text) digits += fmt::format("{:02x}", static_cast<unsigned char>(c));
    object[std::string(name) + "_hex"] = digits;
}

Json influences(const std::vector<Influence>& list) {
    Json array = Json::array();
    for (const Influence& influence : list) {
        Json object;
        object["kind"] = kind_name(influence.input.kind);
        if (!influence.input.name.empty()) put_text(object, "name", influence.input.name);
        if (influence.answer)
            put_text(object, "answer", *influence.answer);
        else
            object["answer"] = nullptr;
        if (!influence.entries.empty()) object["entries"] = influence.entries;
        object["decides"] = influence.decides;
        array.push_back(std::move(object));
    }
    return array;
}
