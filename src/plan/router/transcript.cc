// The transcript of a run and its text form.

#include "plan/router/transcript.h"

#include <ctype.h>
#include <stdlib.h>

#include <algorithm>

#include "core/text.h"

namespace {

constexpr std::string_view hex_digits = "0123456789abcdef";

std::string indent(int depth) {
    return std::string(static_cast<size_t>(depth) * 4, ' ');
}

void append_hex(std::string& out, char byte) {
    const auto value = static_cast<unsigned char>(byte);
    out += hex_digits[value >> 4];
    out += hex_digits[value & 15];
}

// Each line of a text, and whether it ends in a newline, which only the last one may lack.
template <class Use>
void for_each_line(std::string_view text, Use use) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        use(text.substr(0, end), end != std::string_view::npos);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

std::string entry(int depth, std::string_view verb, std::string_view text) {
    std::string line = indent(depth) + std::string(verb);
    if (text.empty()) return line;
    line.resize(std::max(line.size() + 1, indent(depth).size() + 7), ' ');
    return line + escape_line(text);
}

void add_hex_body(std::vector<std::string>& lines, const Event& event) {
    for (size_t at = 0; at < event.body.size(); at += 8) {
        std::string line = indent(event.depth) + "     x";
        for (const char byte : std::string_view(event.body).substr(at, 8)) {
            line += ' ';
            append_hex(line, byte);
        }
        lines.push_back(line);
    }
}

void add_body(std::vector<std::string>& lines, const Event& event) {
    for_each_line(event.body, [&](std::string_view line, bool ended) {
        lines.push_back(indent(event.depth) + (ended ? "     |" : "     \\") +
                        (line.empty() ? "" : " " + escape_line(line)));
    });
}

}  // namespace

void Transcript::add(std::string_view verb, std::string_view text) {
    events_.push_back(
        {.verb = std::string(verb), .text = std::string(text), .body = {}, .depth = depth});
}

void Transcript::add_with_body(std::string_view verb, std::string_view text,
                               std::string_view body) {
    events_.push_back({.verb = std::string(verb),
                       .text = std::string(text),
                       .body = std::string(body),
                       .has_body = true,
                       .depth = depth});
}

void Transcript::print(std::string_view output) {
    if (output.empty()) return;
    if (events_.empty() || events_.back().verb != "print" || events_.back().depth != depth)
        add("print", "");
    events_.back().body += output;
}

std::string Transcript::text() const {
    std::string out;
    for (const Event& event : events_)
        for (const std::string& line : event_lines(event)) out += line + "\n";
    return out;
}

Totals Transcript::totals() const {
    Totals totals;
    for (const Event& event : events_) {
        if (event.verb == "run" || event.verb == "pipe") totals.commands++;
        if (event.verb == "write" || event.verb == "append") totals.files++;
        if (event.verb == "set") totals.settings++;
        totals.microseconds += pause_microseconds(event);
    }
    return totals;
}

std::string Transcript::summary() const {
    const Totals all = totals();
    return format("total  commands %d, files written %d, settings stored %d, pauses %s\n",
                  all.commands, all.files, all.settings, in_seconds(all.microseconds).c_str());
}

std::vector<std::string> event_lines(const Event& event) {
    std::vector<std::string> lines;
    if (event.verb == "print") {
        for_each_line(event.body, [&](std::string_view line, bool ended) {
            lines.push_back(entry(event.depth, ended ? "print" : "begin", line));
        });
        return lines;
    }
    lines.push_back(entry(event.depth, event.verb, event.text));
    if (!event.has_body) return lines;
    if (event.body.find('\0') != std::string::npos)
        add_hex_body(lines, event);
    else
        add_body(lines, event);
    return lines;
}

long long pause_microseconds(const Event& event) {
    if (event.verb != "pause") return 0;
    return atoll(event.text.c_str()) * (event.text.ends_with(" s") ? 1'000'000 : 1);
}

std::vector<long long> elapsed_microseconds(const Transcript& transcript) {
    std::vector<long long> elapsed = {0};
    for (const Event& event : transcript.events())
        elapsed.push_back(elapsed.back() + pause_microseconds(event));
    return elapsed;
}

std::string in_seconds(long long microseconds) {
    return format("%.6g s", static_cast<double>(microseconds) / 1e6);
}

std::string escape_line(std::string_view line) {
    std::string out;
    for (size_t i = 0; i < line.size(); i++) {
        const char c = line[i];
        if (c == '\\') {
            out += "\\\\";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == ' ' && i + 1 == line.size()) {
            out += "\\s";
        } else if (c < 0x20 || c > 0x7e) {
            out += "\\x";
            append_hex(out, c);
        } else {
            out += c;
        }
    }
    return out;
}

// The text begins with a backslash. Appends what this escape stands for and returns its length; if
// it is no known escape, appends the backslash and returns 1.
static size_t append_unescaped(std::string& out, std::string_view text) {
    const auto value = [](char digit) {
        return hex_digits.find(static_cast<char>(tolower(static_cast<unsigned char>(digit))));
    };
    switch (text.size() < 2 ? '\0' : text[1]) {
        case '\\':
            out += '\\';
            return 2;
        case 't':
            out += '\t';
            return 2;
        case 'n':
            out += '\n';
            return 2;
        case 's':
            out += ' ';
            return 2;
        case 'x':
            if (text.size() < 4 || !isxdigit(static_cast<unsigned char>(text[2])) ||
                !isxdigit(static_cast<unsigned char>(text[3])))
                break;
            out += static_cast<char>(value(text[2]) << 4 | value(text[3]));
            return 4;
        default:
            break;
    }
    out += '\\';
    return 1;
}

std::string unescape_line(std::string_view line) {
    std::string out;
    while (true) {
        // Most lines have no escape, and a case with a full list has many long lines.
        const size_t plain = std::min(line.find('\\'), line.size());
        out += line.substr(0, plain);
        line.remove_prefix(plain);
        if (line.empty()) return out;
        line.remove_prefix(append_unescaped(out, line));
    }
}
