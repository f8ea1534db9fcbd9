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

// A length in a row's condition: after '>' the least that the text must have, after '<' how much of
// it rc writes. 0 if the condition has none.
std::size_t length_in(const Sink& sink, char sign) {
    std::string_view rest = sink.when;
    while (!rest.empty()) {
        const std::string_view term = rest.substr(0, rest.find(';'));
        if (term[0] == sign) return static_cast<std::size_t>(leading_int(term.substr(1)));
        rest.remove_prefix(std::min(rest.size(), term.size() + 1));
    }
    return 0;
}

// Of another setting's value, or another field, as much as rc writes at the sink's place.
std::string_view cut_at_place(const Check& check, const Sink& sink, std::string_view name,
                              std::string_view text) {
    const bool is_field = name.starts_with(':');
    for (const Sink& other : check.sinks) {
        if (is_field ? sink.key != std::string_view(other.key) || name.substr(1) != other.field
                     : name != other.key)
            continue;
        if (std::string_view(other.place) == sink.place) return text_in(other, text);
    }
    return text;
}

// The text as rc writes it, with the row's escapes. A % is doubled for the formatting of a command,
// which files do not get.
std::string written_text(const KnownSetting& known, const Sink& sink, std::string_view text) {
    std::string whole = with_backslashes(text, escaped_characters(known.escapes));
    const bool file = std::string_view(sink.place) != "command";
    if (known.escapes != Escapes::Account || !file) return whole;
    for (std::size_t at = whole.find('%'); at != std::string::npos; at = whole.find('%', at + 2))
        whole.insert(at, 1, '%');
    return whole;
}

const std::string* changed(const std::vector<OtherValue>& changes, std::string_view name) {
    for (const OtherValue& change : changes)
        if (change.name == name) return &change.value;
    return nullptr;
}

std::string other_text(const Check& check, const Sink& sink, const KnownSetting& known,
                       const Piece& piece, const std::vector<OtherValue>& changes,
                       std::string_view name) {
    if (name.starts_with(':'))
        return std::string(cut_at_place(check, sink, name, field_of(known, piece, name.substr(1))));
    const std::string* const instead = changed(changes, name);
    const std::optional<std::string_view> value =
        instead != nullptr ? std::string_view(*instead) : check.image.get(name);
    const KnownSetting* const other = find_known(name);
    if (!value || other == nullptr) return std::string(unknown);
    if (other->secret && !value->empty()) return std::string(asterisks);
    return written_text(*other, sink, cut_at_place(check, sink, name, *value));
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

// One term of a sink's conditions, from the character that tells the kind; nullopt if the table
// does not say which values hold.
std::optional<bool> term_holds(std::string_view term, std::string_view value) {
    const std::string_view set = term.substr(1);
    const bool begins = !value.empty() && set.find(value[0]) != std::string_view::npos;
    switch (term[0]) {
        case '=':
            return is_one_of(value, set);
        case '^':
            return begins;
        case '!':
            return !begins;
        case '+':
            return !value.empty();
        case '-':
            return value.empty();
        case '#':
            return leading_int(value) != 0;
        default:
            return std::nullopt;
    }
}

// A valid value of another setting with which the term holds.
std::optional<std::string> value_for(std::string_view term, const KnownSetting& other) {
    const Limits limits = limits_of(other);
    const bool example = *other.factory == '\0' && other.example != nullptr;
    std::vector<std::string> values = {example ? other.example : other.factory, "0", "1"};
    for (const std::string_view word : words_of(limits.choices)) values.emplace_back(word);
    for (std::string_view rest = term.substr(1); !rest.empty();) {
        const std::string_view word = rest.substr(0, rest.find(','));
        values.emplace_back(word);
        rest.remove_prefix(std::min(rest.size(), word.size() + 1));
    }
    values.emplace_back();
    for (const std::string& value : values)
        if (term_holds(term, value) == true &&
            (value.empty() || form_problem(limits, value).empty()))
            return value;
    return std::nullopt;
}

// The station is in use only while ap_mode begins with 0.
std::string value_of(const Check& check, std::string_view key) {
    if (key == "wifi_ap_mode" && !begins_with(check, "ap_mode", '0')) return "0";
    return std::string(text_of(check, key));
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

std::size_t least_length(const Sink& sink) {
    return length_in(sink, '>');
}

std::string_view text_in(const Sink& sink, std::string_view text) {
    const std::size_t width = length_in(sink, '<');
    return width == 0 ? text : text.substr(0, width);
}

Writing writing_of(const Check& check, const Sink& sink, const KnownSetting& known,
                   const Piece& piece) {
    Writing writing;
    if (piece.text.size() < least_length(sink) || !passes(known, sink, text_in(sink, piece.text))) {
        writing.now = Written::Never;
        return writing;
    }
    for (std::string_view rest = sink.when; !rest.empty();) {
        const std::string_view term = rest.substr(0, rest.find(';'));
        rest.remove_prefix(std::min(rest.size(), term.size() + 1));
        const std::size_t sign = std::min(term.find_first_of("=^!+-#?><"), term.size());
        if (term[0] == '!' && term_holds(term, piece.text) == false) {
            writing.now = Written::Never;
            return writing;
        }
        if (sign == 0) continue;
        const std::string_view name = term.substr(0, sign);
        const std::string value =
            name.starts_with(':') ? field_of(known, piece, name.substr(1)) : value_of(check, name);
        const std::string_view condition = sign < term.size() ? term.substr(sign) : "?";
        if (term_holds(condition, value) == true) continue;
        // Conditions were found with sound values; they may not hold of others. Other fields may
        // choose another form of the line.
        const KnownSetting* const other = find_known(name);
        const bool sound =
            other != nullptr && (value.empty() || form_problem(limits_of(*other), value).empty());
        const std::optional<std::string> better =
            sound ? value_for(condition, *other) : std::nullopt;
        if (better)
            writing.changes.push_back({.name = std::string(name), .value = *better});
        else
            writing.unclear.emplace_back(name);
    }
    if (!writing.unclear.empty()) writing.now = Written::Maybe;
    if (!writing.changes.empty()) writing.now = Written::No;
    return writing;
}

static std::string line_with(const Check& check, const Sink& sink, const KnownSetting& known,
                             const Piece& piece, const std::vector<OtherValue>& changes) {
    std::string_view line = sink.line;
    while (line.ends_with('\n')) line.remove_suffix(1);
    std::string whole;
    fill_sink_line(whole, line, [&](char kind, std::string_view name) {
        if (kind == sink_unknown) {
            // Whether a list goes on is not known either.
            if (whole.ends_with(',')) whole.pop_back();
            whole += unknown;
        } else if (kind == sink_other)
            append_visible(whole, other_text(check, sink, known, piece, changes, name));
        else if (known.secret)
            whole += asterisks;
        else
            append_visible(whole, written_text(known, sink, text_in(sink, piece.text)));
    });
    // Unknown words in a row are one gap, because some of them may not be there.
    constexpr std::string_view gap = "... ...";
    for (std::size_t at = whole.find(gap); at != std::string::npos; at = whole.find(gap, at))
        whole.erase(at, gap.size() - unknown.size());
    if (whole.ends_with("... ")) whole.pop_back();
    return whole;
}

// "fw_remote=1 and wan_dns1 empty"
static std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : " and ") + part;
    return text;
}

static std::string name_of(std::string_view name) {
    return name.starts_with(':') ? "field " + std::string(name.substr(1)) : std::string(name);
}

std::string line_effect(const Check& check, const Sink& sink, const KnownSetting& known,
                        const Piece& piece) {
    const bool command = std::string_view(sink.place) == "command";
    const Writing writing = writing_of(check, sink, known, piece);
    std::vector<std::string> changes;
    for (const OtherValue& change : writing.changes)
        changes.push_back(change.value.empty() ? change.name + " empty"
                                               : assignment(change.name, change.value));
    std::vector<std::string> unclear;
    for (const std::string& name : writing.unclear) unclear.push_back(name_of(name));
    std::string text;
    if (!changes.empty()) text += "with " + joined(changes) + ", ";
    if (!unclear.empty()) text += "depending on " + joined(unclear) + ", ";
    text += command ? "runs: " : "writes into " + std::string(sink.place) + ": ";
    return text + line_with(check, sink, known, piece, writing.changes);
}

int rank_of(const Sink& sink, const Writing& writing) {
    // Of several lines, the one for which the fewest settings would have to change; before it none
    // that another field may change.
    int rank = static_cast<int>(writing.now) * 1000 - 2 * static_cast<int>(writing.changes.size());
    for (const std::string& name : writing.unclear)
        if (name.starts_with(':')) rank = std::min(rank, 500);
    return rank + (stands_alone(sink) ? 1 : 0);
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
