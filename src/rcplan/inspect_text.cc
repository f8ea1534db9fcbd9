// A router's deviations: what, expected and found, the settings behind it, and what to do.

#include "rcplan/inspect_text.h"

#include "libnvram/printable.h"
#include "plan/router/lines.h"
#include "rcplan/json.h"

namespace {

// The archive's texts may be anything, even sequences that control a terminal. A text of several
// lines is put below its label.
std::string labelled(const char* label, const std::string& text) {
    const std::vector<std::string_view> lines = body_lines(text);
    if (lines.size() <= 1)
        return std::string("    ") + label + " " +
               nvram::printable(lines.empty() ? text : std::string(lines[0])) + "\n";
    std::string shown = std::string("    ") + label + "\n";
    for (const std::string_view line : lines) shown += "        " + nvram::printable(line) + "\n";
    return shown;
}

}  // namespace

std::string deviation_text(const Deviation& deviation) {
    std::string text = std::string(deviation.note ? "note: " : "") + kind_name(deviation.kind) +
                       " " + nvram::printable(deviation.what) + "\n";
    text += labelled("expected:", deviation.expected.empty() ? "nothing" : deviation.expected);
    text += labelled("found:   ", deviation.found.empty() ? "nothing" : deviation.found);
    if (!deviation.settings.empty()) {
        text += "    settings:";
        for (const std::string& key : deviation.settings) text += " " + nvram::printable(key);
        text += "\n";
    }
    return text + labelled("to do:   ", deviation.fix);
}

std::string deviation_json(const Deviation& deviation) {
    Json object;
    object["kind"] = kind_name(deviation.kind);
    put_text(object, "what", deviation.what);
    put_text(object, "expected", deviation.expected);
    put_text(object, "found", deviation.found);
    object["settings"] = Json::array();
    for (const std::string& key : deviation.settings) object["settings"].push_back(key);
    put_text(object, "fix", deviation.fix);
    object["note"] = deviation.note;
    return json_line(object);
}
