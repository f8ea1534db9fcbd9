// nvram check: prints what is wrong with settings, as text or as JSON; and --check of other verbs.
#include <cstdio>
#include <utility>

#include "check/check.h"
#include "libnvram/printable.h"
#include "nvram/json.h"
#include "nvram/verbs.h"

namespace nvram {

static constexpr const char* level_names[] = {"note", "warning", "error"};

static const char* name_of(Level level) {
    return level_names[static_cast<std::size_t>(level)];
}

static void append_json(std::string& line, const Finding& finding) {
    struct Member {
        const char* name;
        std::string_view text;
    };
    const Member members[] = {
        {"key", finding.key},         {"level", name_of(finding.level)}, {"value", finding.value},
        {"problem", finding.problem}, {"effect", finding.effect},        {"fix", finding.fix},
    };
    line += '{';
    for (const Member& member : members) {
        append_json_name(line, member.name);
        append_json(line, member.text);
    }
    line += '}';
}

static void append_line(std::string& out, std::string_view start, std::string_view text) {
    out += start;
    append_printable(out, text);
    out += '\n';
}

// The findings of one setting share one heading.
static std::string findings_text(const std::vector<Finding>& findings) {
    std::string text;
    std::string_view heading;
    for (const Finding& finding : findings) {
        const bool is_line = finding.key.find(' ') != std::string::npos;
        if (finding.key != heading)
            append_line(text, "", is_line ? finding.key : finding.key + "=" + finding.value);
        heading = finding.key;
        append_line(text, std::string("    ") + name_of(finding.level) + ": ", finding.problem);
        append_line(text, "    rc: ", finding.effect);
        if (!finding.fix.empty()) append_line(text, "    fix: ", finding.fix);
    }
    text += std::to_string(findings.size());
    text += findings.size() == 1 ? " finding\n" : " findings\n";
    return text;
}

Verdict verdict_on(const Image& settings) {
    Verdict verdict;
    std::vector<Finding> findings = check_settings(settings);
    verdict.findings += '[';
    for (const Finding& finding : findings) {
        if (verdict.findings.back() != '[') verdict.findings += ',';
        append_json(verdict.findings, finding);
    }
    verdict.findings += ']';
    std::erase_if(findings, [](const Finding& finding) { return finding.level != Level::Error; });
    if (!findings.empty()) verdict.errors = findings_text(findings);
    return verdict;
}

bool accept_without_errors(const Image& image, void* text) {
    *static_cast<std::string*>(text) = verdict_on(image).errors;
    return static_cast<std::string*>(text)->empty();
}

int check_verb(Store& store, const Call& call) {
    const char* const place = call.words.empty() ? "@working" : call.words[0];
    std::string text;
    if (!read_image_text(store, call, place, text)) return status_error;
    const std::vector<Finding> findings = check_image(std::move(text));
    bool clean = true;
    for (const Finding& finding : findings) {
        if (call.json) {
            std::string line;
            append_json(line, finding);
            std::puts(line.c_str());
        }
        if (finding.level != Level::Note) clean = false;
    }
    if (!call.json) std::fputs(findings_text(findings).c_str(), stdout);
    return clean ? status_done : status_no;
}

}  // namespace nvram
