// The effect of a value that does not have the form of its setting.
#include <algorithm>

#include "check/check_parts.h"
#include "core/text.h"
#include "lan/leases.h"

namespace nvram {

namespace {

bool runs_iptables(const Sink& sink) {
    std::string_view word = sink.line;
    word = word.substr(0, word.find(' '));
    return word == "iptables" || word.ends_with("/iptables");
}

// True only where iptables certainly rejects the text: it reads octal numbers, names of services,
// and addresses of fewer than four numbers.
bool is_rejected(Form form, const std::string& text) {
    if (form == Form::Number) {
        const std::optional<long long> number = plain_number(text);
        return number && (*number < 0 || *number > 65535);
    }
    return (form == Form::Address || form == Form::Quad) &&
           text.find_first_not_of("0123456789.") == std::string::npos &&
           !parse_address(text.c_str());
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

Form form_of(const KnownSetting& known, const Piece& piece) {
    if (known.record == nullptr || piece.field == nullptr) return known.form;
    const std::size_t place = field_place(*known.record, piece.field);
    return place < known.record->fields.size() ? known.record->fields[place].form : known.form;
}

}  // namespace

// rc itself reads one character; the log's configuration gets the whole value.
std::string effect_of_long_flag(const Check& check, const KnownSetting& known,
                                std::string_view value) {
    const Piece whole = {.text = value};
    for (const Sink& sink : check.sinks)
        if (sink.key == std::string_view(known.key) &&
            sink.place == std::string_view("/tmp/syslog.conf") &&
            writing_of(check, sink, known, whole).now == Written::Yes)
            return line_effect(check, sink, known, whole);
    return std::string("reads only the first character, ") + value[0];
}

// A line that rc writes is better than another, and of those one in which the text is a word.
std::string effect_of_wrong(const Check& check, const KnownSetting& known, const Piece& whole) {
    std::string in_entry = effect_in_entry(check, known, whole);
    if (!in_entry.empty()) return in_entry;
    if (known.when_wrong != nullptr) return known.when_wrong;
    const Piece piece = taken_piece(known, whole, text_of(check, known.key)).value_or(whole);
    const Sink* example = nullptr;
    int best = 0;
    std::size_t least = 0;
    for (const Sink& sink : check.sinks) {
        if (sink.key != std::string_view(known.key)) continue;
        if (piece.field != nullptr && sink.field != std::string_view(piece.field)) continue;
        const Writing writing = writing_of(check, sink, known, piece);
        const int rank = rank_of(sink, writing);
        least = std::max(least, least_length(sink));
        if (writing.now == Written::Never || rank <= best) continue;
        best = rank;
        example = &sink;
    }
    if (example == nullptr && piece.text.size() < least)
        return "does not use a text of fewer than " + std::to_string(least) + " characters";
    if (example == nullptr) return effect_by_form(known, piece.text);
    std::string text = line_effect(check, *example, known, piece);
    const bool now = writing_of(check, *example, known, piece).now == Written::Yes;
    if (now && runs_iptables(*example) &&
        is_rejected(form_of(known, piece), std::string(text_in(*example, piece.text))))
        text += "; iptables rejects it";
    return text;
}

}  // namespace nvram
