// A whole text image: what is wrong with its lines, then with its settings.
#include <algorithm>
#include <cstdlib>

#include "check/check_parts.h"

namespace nvram {

namespace {

constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";

Finding of_file(const char* problem, const char* effect, const char* fix) {
    return {.level = Level::Error,
            .key = "the file",
            .value = "",
            .problem = problem,
            .effect = effect,
            .fix = fix};
}

Finding of_line(unsigned line, std::string problem, const char* effect, const char* fix) {
    return {.level = Level::Error,
            .key = "line " + std::to_string(line),
            .value = "",
            .problem = std::move(problem),
            .effect = effect,
            .fix = fix};
}

std::string like_others(std::string problem, std::size_t others) {
    if (others == 1) return problem + ", and so does another line";
    if (others > 1) return problem + ", and so do " + std::to_string(others) + " other lines";
    return problem;
}

unsigned lines_before(std::string_view text, std::size_t at) {
    return static_cast<unsigned>(
        std::count(text.begin(), text.begin() + static_cast<long>(at), '\n'));
}

// Takes the CRs before line feeds out; returns how many there were, and the first one's line.
std::size_t take_returns(std::string& text, unsigned& first) {
    std::size_t found = 0;
    std::size_t out = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool ends_line = at + 1 == text.size() || text[at + 1] == '\n';
        if (text[at] == '\r' && ends_line) {
            if (++found == 1) first = lines_before(text, at) + 1;
            continue;
        }
        text[out++] = text[at];
    }
    text.resize(out);
    return found;
}

// Equal mistakes in several lines are one finding.
void add_bad_lines(std::vector<Finding>& findings, const std::vector<BadLine>& lines) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto same = [&](const BadLine& other) {
            return std::string_view(other.reason) == lines[i].reason;
        };
        const auto place = lines.begin() + static_cast<long>(i);
        if (std::any_of(lines.begin(), place, same)) continue;
        const auto others = static_cast<std::size_t>(std::count_if(place, lines.end(), same)) - 1;
        std::string problem = lines[i].reason;
        if (others > 0) problem += " (and " + std::to_string(others) + " more such lines)";
        findings.push_back(of_line(lines[i].number, std::move(problem), "ignores the line",
                                   "key=value, or # before a comment"));
    }
}

// A key with the line of its setting.
struct Given {
    std::string_view key;
    unsigned line;
};

std::vector<Given> given_keys(std::string_view text) {
    std::vector<Given> keys;
    for (unsigned line = 1; !text.empty(); ++line) {
        const std::string_view whole = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), whole.size() + 1));
        const std::string_view key = whole.substr(0, whole.find('='));
        if (key.size() < whole.size() && valid_key(key)) keys.push_back({key, line});
    }
    return keys;
}

// For qsort(3): std::stable_sort would bring in the exceptions of the C++ library.
int by_key_and_line(const void* left, const void* right) {
    const Given& one = *static_cast<const Given*>(left);
    const Given& other = *static_cast<const Given*>(right);
    const int order = one.key.compare(other.key);
    if (order != 0) return order;
    return one.line < other.line ? -1 : 1;
}

void add_duplicates(Check& check, std::string_view text) {
    std::vector<Given> keys = given_keys(text);
    std::qsort(keys.data(), keys.size(), sizeof(Given), by_key_and_line);
    for (std::size_t i = 0; i + 1 < keys.size();) {
        std::size_t end = i + 1;
        std::string lines = "line " + std::to_string(keys[i].line);
        while (end < keys.size() && keys[end].key == keys[i].key) {
            lines += " and line " + std::to_string(keys[end].line);
            ++end;
        }
        if (end > i + 1)
            add(check, Level::Warning, keys[i].key,
                {.problem = "is given more than once, in " + lines,
                 .effect = "uses line " + std::to_string(keys[end - 1].line),
                 .fix = "one line"});
        i = end;
    }
}

}  // namespace

std::vector<Finding> check_image(std::string text) {
    const char* const settings = "lines of key=value, as nvram export writes them";
    if (text.find('\0') != std::string::npos)
        return {of_file("is not a text: it contains zero bytes", "ignores the lines with them",
                        settings)};
    std::vector<Finding> findings;
    if (text.starts_with(byte_order_mark)) {
        text.erase(0, byte_order_mark.size());
        findings.push_back(of_line(1, "begins with a byte order mark, which is no part of a key",
                                   "ignores the line", "a file without it"));
    }
    unsigned first = 0;
    const std::size_t returns = take_returns(text, first);
    if (returns > 0)
        findings.push_back(of_line(first, like_others("ends with a carriage return", returns - 1),
                                   "takes it as the last character of the value",
                                   "lines that end with a line feed only"));
    std::vector<BadLine> bad_lines;
    const Image image(text, &bad_lines);
    add_bad_lines(findings, bad_lines);
    if (image.entries().empty()) {
        if (findings.empty())
            findings.push_back(
                of_file("contains no setting", "takes every setting as not set", settings));
        return findings;
    }
    Check check = {.image = image, .sinks = {}, .findings = check_settings(image)};
    add_duplicates(check, text);
    for (Finding& finding : check.findings) findings.push_back(std::move(finding));
    return findings;
}

}  // namespace nvram
