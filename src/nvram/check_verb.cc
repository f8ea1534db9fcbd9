// nvram check: prints what is wrong with settings, as text or as JSON.
#include <cstdio>
#include <utility>

#include "check/check.h"
#include "nvram/verbs.h"

namespace nvram {

static constexpr const char* level_names[] = {"note", "warning", "error"};

static const char* name_of(Level level) {
    return level_names[static_cast<std::size_t>(level)];
}

// The length in bytes of the well-formed UTF-8 character (RFC 3629) that the text begins with; 0 if
// it begins with none.
static std::size_t utf8_length(std::string_view text) {
    const auto byte = [text](std::size_t place) {
        return place < text.size() ? static_cast<unsigned char>(text[place]) : 0U;
    };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xf5 ? 0 : first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || length == 0) return 0;
    for (std::size_t place = 1; place < length; ++place)
        if ((byte(place) & 0xc0) != 0x80) return 0;
    // Overlong encodings, surrogates, and code points beyond U+10FFFF.
    const unsigned second = byte(1);
    const bool bad = (first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) ||
                     (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f);
    return bad ? 0 : length;
}

// A byte that is not valid UTF-8 is written as an image escapes it: \xff.
static void append_json(std::string& out, std::string_view text) {
    char escape[8];
    out += '"';
    while (!text.empty()) {
        const std::size_t length = utf8_length(text);
        const auto byte = static_cast<unsigned>(static_cast<unsigned char>(text[0]));
        if (length == 0) {
            std::snprintf(escape, sizeof escape, "\\\\x%02x", byte);
            out += escape;
        } else if (byte < 0x20) {
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            out += escape;
        } else {
            if (text[0] == '"' || text[0] == '\\') out += '\\';
            out += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    out += '"';
}

static void print_json(const Finding& finding) {
    struct Member {
        const char* name;
        std::string_view text;
    };
    const Member members[] = {
        {"key", finding.key},         {"level", name_of(finding.level)}, {"value", finding.value},
        {"problem", finding.problem}, {"effect", finding.effect},        {"fix", finding.fix},
    };
    std::string line;
    for (const Member& member : members) {
        line += line.empty() ? "{" : ",";
        append_json(line, member.name);
        line += ':';
        append_json(line, member.text);
    }
    line += '}';
    std::puts(line.c_str());
}

// The findings of one setting share one heading.
static void print_text(const std::vector<Finding>& findings) {
    std::string_view heading;
    for (const Finding& finding : findings) {
        const bool is_line = finding.key.find(' ') != std::string::npos;
        if (finding.key != heading) {
            if (is_line)
                std::printf("%s\n", finding.key.c_str());
            else
                std::printf("%s=%s\n", finding.key.c_str(), finding.value.c_str());
        }
        heading = finding.key;
        std::printf("    %s: %s\n", name_of(finding.level), finding.problem.c_str());
        std::printf("    rc: %s\n", finding.effect.c_str());
        if (!finding.fix.empty()) std::printf("    fix: %s\n", finding.fix.c_str());
    }
    std::printf("%zu finding%s\n", findings.size(), findings.size() == 1 ? "" : "s");
}

// Findings about lines that are not settings come first.
static std::vector<Finding> check_text(std::string text) {
    std::vector<BadLine> bad_lines;
    const Image image(std::move(text), &bad_lines);
    std::vector<Finding> findings;
    findings.reserve(bad_lines.size());
    for (const BadLine& line : bad_lines)
        findings.push_back({.level = Level::Error,
                            .key = "line " + std::to_string(line.number),
                            .value = "",
                            .problem = line.reason,
                            .effect = "ignores the line",
                            .fix = "key=value, or # before a comment"});
    for (Finding& finding : check_settings(image)) findings.push_back(std::move(finding));
    return findings;
}

int check_verb(Store& store, const Call& call) {
    const char* const place = call.words.empty() ? "@working" : call.words[0];
    std::string text;
    if (!read_image_text(store, call, place, text)) return status_error;
    const std::vector<Finding> findings = check_text(std::move(text));
    bool clean = true;
    for (const Finding& finding : findings) {
        if (call.json) print_json(finding);
        if (finding.level != Level::Note) clean = false;
    }
    if (!call.json) print_text(findings);
    return clean ? status_done : status_no;
}

}  // namespace nvram
