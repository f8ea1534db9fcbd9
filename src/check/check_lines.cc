// The lines that rc writes, with the settings at hand in them.
#include <algorithm>

#include "check/check_parts.h"
#include "core/limits.h"
#include "core/shell_line.h"
#include "core/text.h"
#include "libnvram/secret.h"

namespace nvram {

namespace {

constexpr std::string_view unknown = "...";
constexpr std::string_view asterisks = "********";

std::string field_of(const KnownSetting& known, const Piece& piece, std::string_view name) {
    if (known.record == nullptr) return "";
    const std::size_t place = field_place(*known.record, name);
    const std::vector<std::string_view> fields = split_fields(*known.record, piece.record);
    return place < fields.size() ? std::string(fields[place]) : "";
}

std::string with_backslashes(std::string_view text, std::string_view before) {
    std::string whole;
    for (const char c : text) {
        if (before.find(c) != std::string_view::npos) whole += '\\';
        whole += c;
    }
    return whole;
}

// The text as rc writes it: cut, with the row's escapes. A % is doubled for the formatting of a
// command, which files do not get.
std::string written_text(const KnownSetting& known, const Sink& sink, std::string_view text) {
    if (known.cut) text = text.substr(0, static_cast<std::size_t>(known.high));
    std::string whole = with_backslashes(text, escaped_characters(known.escapes));
    const bool file = std::string_view(sink.place) != "command";
    if (known.escapes != Escapes::Account || !file) return whole;
    for (std::size_t at = whole.find('%'); at != std::string::npos; at = whole.find('%', at + 2))
        whole.insert(at, 1, '%');
    return whole;
}

std::string other_text(const Check& check, const Sink& sink, const KnownSetting& known,
                       const Piece& piece, std::string_view name) {
    if (name.starts_with(':')) return field_of(known, piece, name.substr(1));
    const std::optional<std::string_view> value = check.image.get(name);
    const KnownSetting* const other = find_known(name);
    if (!value || other == nullptr) return std::string(unknown);
    if (other->secret && !value->empty()) return std::string(asterisks);
    return written_text(*other, sink, *value);
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

bool is_one_of(std::string_view text, std::string_view words) {
    while (true) {
        const std::string_view word = words.substr(0, words.find(','));
        if (word == text) return true;
        if (word.size() == words.size()) return false;
        words.remove_prefix(word.size() + 1);
    }
}

// One term of a sink's conditions, from the character that tells the kind.
Written term_holds(std::string_view term, std::string_view value) {
    const std::string_view set = term.substr(1);
    const bool begins = !value.empty() && set.find(value[0]) != std::string_view::npos;
    bool result = false;
    switch (term[0]) {
        case '=':
            result = is_one_of(value, set);
            break;
        case '^':
            result = begins;
            break;
        case '!':
            result = !begins;
            break;
        case '+':
            result = !value.empty();
            break;
        case '-':
            result = value.empty();
            break;
        case '#':
            result = leading_int(value) != 0;
            break;
        default:
            return Written::Maybe;
    }
    return result ? Written::Yes : Written::No;
}

// The station is in use only while ap_mode begins with 0.
std::string value_of(const Check& check, std::string_view key) {
    if (key == "wifi_ap_mode" && !begins_with(check, "ap_mode", '0')) return "0";
    return std::string(text_of(check, key));
}

// Conditions were found with sound values; they may not hold of others.
bool is_of_form(const KnownSetting& known, std::string_view key, std::string_view value) {
    if (value.empty()) return true;
    if (!key.starts_with(':')) {
        const KnownSetting* const other = find_known(key);
        return other == nullptr || form_problem(limits_of(*other), value).empty();
    }
    const std::size_t place = field_place(*known.record, key.substr(1));
    return place >= known.record->fields.size() ||
           form_problem(limits_of(known.record->fields[place]), value).empty();
}

// Whether rc passes all of the text: the table lists only special characters.
bool passes(const KnownSetting& known, const Sink& sink, std::string_view text) {
    const std::string_view passing = sink.passes;
    const std::string_view escapes = escaped_characters(known.escapes);
    for (const char c : text) {
        if (special_characters.find(c) == std::string_view::npos) continue;
        const bool escaped = escapes.find(c) != std::string_view::npos || c == '%';
        if (passing.find(c) == std::string_view::npos && !escaped) return false;
    }
    return true;
}

}  // namespace

Written written(const Check& check, const Sink& sink, const KnownSetting& known,
                const Piece& piece) {
    // rc leaves a WDS peer out that is shorter than an address.
    const bool driver = std::string_view(sink.place) == "/var/RT2860AP.dat";
    if (driver && known.form == Form::Mac && piece.text.size() < limits::mac_length)
        return Written::No;
    // And a fixed name server that is shorter than the shortest address.
    constexpr std::size_t shortest_address = 7;
    const bool fixed = std::string_view(sink.when).find("wan_fix_dns^1") != std::string_view::npos;
    if (fixed && std::string_view(known.key).starts_with("wan_dns") &&
        piece.text.size() < shortest_address)
        return Written::No;
    if (is_not_given(known, piece)) return Written::No;
    Written result = passes(known, sink, piece.text) ? Written::Yes : Written::No;
    for (std::string_view rest = sink.when; !rest.empty();) {
        const std::string_view term = rest.substr(0, rest.find(';'));
        rest.remove_prefix(std::min(rest.size(), term.size() + 1));
        const std::size_t sign = std::min(term.find_first_of("=^!+-#?>"), term.size());
        if (sign == term.size()) return Written::Maybe;
        if (term[sign] == '>') {
            const auto least = static_cast<std::size_t>(leading_int(term.substr(sign + 1)));
            if (piece.text.size() < least) return Written::No;
            continue;
        }
        const std::string_view key = term.substr(0, sign);
        const std::string value =
            key.starts_with(':') ? field_of(known, piece, key.substr(1)) : value_of(check, key);
        Written holds = term_holds(term.substr(sign), value);
        if (holds == Written::No && !is_of_form(known, key, value)) holds = Written::Maybe;
        result = std::min(result, holds);
    }
    return result;
}

std::string line_with(const Check& check, const Sink& sink, const KnownSetting& known,
                      const Piece& piece) {
    std::string_view line = sink.line;
    while (line.ends_with('\n')) line.remove_suffix(1);
    std::string whole;
    fill_sink_line(whole, line, [&](char kind, std::string_view name) {
        if (kind == sink_unknown) {
            // Whether a list goes on is not known either.
            if (whole.ends_with(',')) whole.pop_back();
            whole += unknown;
        } else if (kind == sink_other)
            append_visible(whole, other_text(check, sink, known, piece, name));
        else if (known.secret)
            whole += asterisks;
        else
            append_visible(whole, written_text(known, sink, piece.text));
    });
    // Unknown words in a row are one gap, because some of them may not be there.
    constexpr std::string_view gap = "... ...";
    for (std::size_t at = whole.find(gap); at != std::string::npos; at = whole.find(gap, at))
        whole.erase(at, gap.size() - unknown.size());
    if (whole.ends_with("... ")) whole.pop_back();
    return whole;
}

std::string line_effect(const Check& check, const Sink& sink, const KnownSetting& known,
                        const Piece& piece) {
    const bool command = std::string_view(sink.place) == "command";
    const Written now = written(check, sink, known, piece);
    std::string text;
    if (now == Written::No) text = "with other settings, ";
    if (now == Written::Maybe) text = "depending on other settings, ";
    text += command ? "runs: " : "writes into " + std::string(sink.place) + ": ";
    return text + line_with(check, sink, known, piece);
}

bool stands_alone(const Sink& sink) {
    constexpr std::string_view ends = " \t\"'=&;>";
    const std::string_view line = sink.line;
    const std::size_t at = line.find(sink_text);
    if (at == std::string_view::npos) return false;
    const bool begins = at == 0 || ends.find(line[at - 1]) != std::string_view::npos;
    return begins && (at + 1 == line.size() || ends.find(line[at + 1]) != std::string_view::npos);
}

bool is_used(const KnownSetting& known, const Piece& piece, std::string_view value) {
    if (known.record == nullptr || piece.entry == 0) return true;
    const Record& record = *known.record;
    const auto counts = [&](std::string_view text) {
        if (*record.counted == '\0') return true;
        const std::vector<std::string_view> fields = split_fields(record, text);
        const std::size_t place = field_place(record, record.counted);
        return place < fields.size() && fields[place] == "1";
    };
    if (!counts(piece.record)) return false;
    std::size_t before = 0;
    unsigned entry = 0;
    for (const std::string_view text : split_records(record, value)) {
        if (++entry >= piece.entry) break;
        if (counts(text)) ++before;
    }
    return record.most == 0 || before < record.most;
}

}  // namespace nvram
