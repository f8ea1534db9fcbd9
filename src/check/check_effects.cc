// The effect of a value that does not have the form of its setting.
#include "check/check_parts.h"
#include "core/text.h"

namespace nvram {

namespace {

// Programs that reject a line with an invalid number, address or name.
constexpr std::string_view strict_programs[] = {"ifconfig", "insmod", "iptables", "route", "tc"};

std::string_view strict_program(std::string_view line) {
    std::string_view word = line.substr(0, line.find(' '));
    word.remove_prefix(word.rfind('/') + 1);  // npos + 1 is 0
    for (const std::string_view program : strict_programs)
        if (word == program) return program;
    return {};
}

std::string effect_in_line(const KnownSetting& known, const Sink& sink, std::string_view piece) {
    const std::string line = line_with(sink, masked(known, piece));
    const std::string_view place = sink.place;
    std::string text = place == "command" ? "passes it unchanged to a command: "
                                          : "writes it unchanged into " + std::string(place) + ": ";
    text += line;
    // A text that a shell splits or interprets does not reach the program unchanged.
    const bool whole = piece.find_first_of(" \t\n;&|<>()$`\\\"'") == std::string_view::npos;
    const std::string_view program = strict_program(sink.line);
    if (whole && !program.empty()) text += "; " + std::string(program) + " rejects it";
    return text;
}

std::string effect_by_form(const KnownSetting& known, std::string_view piece) {
    switch (known.secret ? Form::Text : known.form) {
        case Form::Flag:
            return "treats it as off: only a value that starts with 1 is on";
        case Form::Number:
            return "reads it as " + std::to_string(leading_int(piece));
        case Form::Choice:
            return "passes it on unchanged";
        default:
            return "uses it unchanged";
    }
}

// A backslash is not doubled: the line is shown as a shell reads it.
void append_visible(std::string& out, std::string_view text) {
    for (const char c : text) {
        if (c == '\\')
            out += c;
        else
            append_escaped(out, {&c, 1});
    }
}

}  // namespace

std::string_view masked(const KnownSetting& known, std::string_view piece) {
    return known.secret ? "********" : piece;
}

bool stands_alone(const Sink& sink) {
    constexpr std::string_view ends = " \t\"'=&;>";
    const std::string_view line = sink.line;
    const std::size_t at = line.find('\x01');
    if (at == std::string_view::npos) return false;
    const bool begins = at == 0 || ends.find(line[at - 1]) != std::string_view::npos;
    return begins && (at + 1 == line.size() || ends.find(line[at + 1]) != std::string_view::npos);
}

std::string line_with(const Sink& sink, std::string_view text) {
    std::string_view line = sink.line;
    while (line.ends_with('\n')) line.remove_suffix(1);
    std::string whole;
    for (const char c : line) {
        if (c == '\x01') {
            append_visible(whole, text);
        } else {
            whole += c;
        }
    }
    return whole;
}

std::string effect_of_wrong(const Check& check, const KnownSetting& known, std::string_view piece) {
    if (known.when_wrong != nullptr) return known.when_wrong;
    const Sink* example = nullptr;
    for (const Sink& sink : check.sinks) {
        if (sink.key != std::string_view(known.key)) continue;
        if (example == nullptr || (stands_alone(sink) && !stands_alone(*example))) example = &sink;
    }
    return example != nullptr ? effect_in_line(known, *example, piece)
                              : effect_by_form(known, piece);
}

}  // namespace nvram
