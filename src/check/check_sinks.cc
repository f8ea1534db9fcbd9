// Whether a value keeps its meaning in the lines that rc writes it into.
#include <algorithm>

#include "check/check_parts.h"
#include "core/shell_line.h"
#include "settings/records.h"

namespace nvram {

namespace {

constexpr std::string_view white_space = " \t";

// One kind of damage that a text can do to its line.
struct Danger {
    Level level;
    std::string characters;  // those at fault, each once; empty if it is the text as a whole
    std::string_view reason;
};
using Dangers = std::vector<Danger>;

// A text where a shell reads it.
struct Place {
    std::string_view before;
    std::string_view after;
};

bool holds(std::string_view characters, char c) {
    return characters.find(c) != std::string_view::npos;
}

void note_character(std::string& characters, char c) {
    if (!holds(characters, c)) characters += c;
}

std::string found_in(std::string_view text, std::string_view characters) {
    std::string found;
    for (const char c : text)
        if (holds(characters, c)) note_character(found, c);
    return found;
}

void add_danger(Dangers& dangers, Level level, const std::string& characters,
                std::string_view reason) {
    if (!characters.empty()) dangers.push_back({level, characters, reason});
}

// The text without the characters that rc does not pass; the table lists only special ones.
std::string passing(std::string_view text, std::string_view passes) {
    std::string rest;
    for (const char c : text)
        if (!holds(special_characters, c) || holds(passes, c)) rest += c;
    return rest;
}

// The characters of the text, each once, that are special to a shell.
std::string read_by_shell(std::string_view text, ShellQuotes quotes, const Place& place) {
    std::string special;
    char before = place.before.empty() ? ' ' : place.before.back();
    for (const char c : text) {
        const ShellRole role = shell_role(c, quotes, holds(white_space, before));
        if (role != ShellRole::Text && role != ShellRole::Blank) note_character(special, c);
        before = c;
    }
    return special;
}

void find_extra_words(Dangers& dangers, std::string_view text, const Place& place) {
    add_danger(dangers, Level::Warning, found_in(text, white_space),
               "a shell splits it into several words");

    const bool redirected = place.after.starts_with('>') || place.after.starts_with('<');
    const std::size_t word = text.find_last_of(white_space) + 1;  // npos + 1 is 0
    const bool new_word = word > 0 || place.before.empty() || place.before.ends_with(' ');
    if (redirected && new_word && word < text.size() &&
        text.find_first_not_of("0123456789", word) == std::string_view::npos)
        dangers.push_back(
            {Level::Error, "",
             "ends in a number right before > or <: a shell reads it as a file descriptor"});
}

void find_in_shell(Dangers& dangers, ShellQuotes quotes, std::string_view text,
                   const Place& place) {
    std::string_view reason = "special to a shell outside quotes";
    if (quotes == ShellQuotes::Double) reason = "special to a shell inside double quotes";
    if (quotes == ShellQuotes::Single) reason = "it ends the single quotes";
    add_danger(dangers, Level::Error, read_by_shell(text, quotes, place), reason);
    if (quotes == ShellQuotes::None) find_extra_words(dangers, text, place);
}

// Where the command of a system crontab's line starts, after five fields of time and the user;
// npos if the line's start does not reach it.
std::size_t command_start(std::string_view start) {
    constexpr int fields = 6;
    std::size_t at = 0;
    for (int field = 0; field < fields; ++field) {
        at = start.find_first_of(white_space, at);
        if (at == std::string_view::npos) return at;
        at = std::min(start.find_first_not_of(white_space, at), start.size());
    }
    return at;
}

bool sets_variable(std::string_view line) {
    const std::size_t name_end = line.find_first_of(" \t=");
    return name_end != std::string_view::npos && line[name_end] == '=';
}

void find_in_crontab(Dangers& dangers, std::string_view text, const Place& place) {
    add_danger(dangers, Level::Error, found_in(text, "\n"), "it starts a new line");
    if (sets_variable(place.before)) return;
    const std::size_t start = command_start(place.before);
    if (start == std::string_view::npos) {
        add_danger(dangers, Level::Error, found_in(text, white_space), "cron ends the field there");
        return;
    }
    add_danger(dangers, Level::Error, found_in(text, "%"), "cron ends the command there");
    Place inside = place;
    inside.before.remove_prefix(start);
    const ShellQuotes quotes = shell_reader_at(inside.before, inside.before.size()).quotes();
    find_in_shell(dangers, quotes, text, inside);
}

Dangers dangers_in(const KnownSetting& known, const Sink& sink, std::string_view whole) {
    const std::string text = passing(text_in(sink, whole), sink.passes);
    const std::string_view line = sink.line;
    const std::size_t at = std::min(line.find('\x01'), line.size());
    const Place place = {.before = line.substr(0, at),
                         .after = line.substr(std::min(line.size(), at + 1))};
    Dangers dangers;
    if (sink.quoting == Quoting::File)
        add_danger(dangers, Level::Error, found_in(text, "\n"), "it starts a new line");
    if (sink.quoting == Quoting::Crontab) find_in_crontab(dangers, text, place);
    if (sink.quoting == Quoting::Bare) find_in_shell(dangers, ShellQuotes::None, text, place);
    if (sink.quoting == Quoting::DoubleQuoted)
        find_in_shell(dangers, ShellQuotes::Double, text, place);
    if (sink.quoting == Quoting::SingleQuoted)
        find_in_shell(dangers, ShellQuotes::Single, text, place);
    // Inside double quotes a backslash does not escape a single quote, and stays.
    if (sink.quoting == Quoting::DoubleQuoted && holds(escaped_characters(known.escapes), '\''))
        add_danger(dangers, Level::Warning, found_in(text_in(sink, whole), "'"),
                   "the backslash that rc adds stays inside double quotes");
    return dangers;
}

std::string character_text(char c) {
    if (c == ' ') return "a space";
    if (c == '\t') return "a tab";
    if (c == '\n') return "a newline";
    return {c};
}

// "$, ( and a space"
std::string characters_text(std::string_view characters) {
    std::string text;
    for (std::size_t i = 0; i < characters.size(); ++i) {
        if (i > 0) text += i + 1 < characters.size() ? ", " : " and ";
        text += character_text(characters[i]);
    }
    return text;
}

// One danger of a piece of a value, in any number of lines.
struct Harm {
    Danger danger;
    const Sink* first;
    Written now;
    int rank;
    unsigned more;
};

// A line that rc writes with these settings comes before one that it does not.
void note_harm(std::vector<Harm>& harms, const Danger& danger, const Sink& sink, Written now,
               int rank) {
    for (Harm& harm : harms) {
        if (harm.danger.reason != danger.reason || harm.danger.characters != danger.characters)
            continue;
        if (now == harm.now) ++harm.more;
        if (now > harm.now) harm.more = 0;
        if (rank > harm.rank) {
            harm.first = &sink;
            harm.now = now;
            harm.rank = rank;
        }
        return;
    }
    harms.push_back({.danger = danger, .first = &sink, .now = now, .rank = rank, .more = 0});
}

std::string problem_of(const Danger& danger, bool secret) {
    if (danger.characters.empty()) return std::string(danger.reason);
    // The message does not reveal which character of a secret it is.
    const std::string what = secret ? "a special character" : characters_text(danger.characters);
    return "contains " + what + ": " + std::string(danger.reason);
}

std::string fix_of(const Danger& danger, bool secret) {
    if (secret) return "only letters and digits";
    if (danger.characters.empty()) return "a value that does not end in a number";
    return "a value without " + characters_text(danger.characters);
}

void add_harm(Check& check, const KnownSetting& known, const Piece& piece, const Harm& harm) {
    const bool secret = known.secret;
    const bool has_field = piece.field != nullptr && *piece.field != '\0';
    const std::string place = place_text(piece.entry, has_field ? piece.field : nullptr);
    std::string effect = line_effect(check, *harm.first, known, piece);
    if (harm.more == 1) effect += " (and another such line)";
    if (harm.more > 1) effect += " (and " + std::to_string(harm.more) + " more such lines)";
    // A line that rc does not write breaks nothing yet.
    const Level level =
        harm.now == Written::No ? std::min(harm.danger.level, Level::Warning) : harm.danger.level;
    add(check, level, known.key,
        {.problem = (place.empty() ? "" : place + ": ") + problem_of(harm.danger, secret),
         .effect = effect,
         .fix = fix_of(harm.danger, secret)});
}

// Whether a sink's line contains this piece of a value; the table may not say which field it is.
bool stands_in(const Sink& sink, const Piece& piece) {
    return sink.field == nullptr || piece.field == nullptr ||
           sink.field == std::string_view(piece.field);
}

void check_piece(Check& check, const KnownSetting& known, const Piece& whole) {
    const std::optional<Piece> piece = taken_piece(known, whole, text_of(check, known.key));
    if (!piece) return;
    std::vector<Harm> harms;
    for (const Sink& sink : check.sinks) {
        if (sink.key != std::string_view(known.key) || !stands_in(sink, *piece)) continue;
        const Writing writing = writing_of(check, sink, known, *piece);
        if (writing.now == Written::Never) continue;
        for (const Danger& danger : dangers_in(known, sink, piece->text))
            note_harm(harms, danger, sink, writing.now, rank_of(sink, writing));
    }
    for (const Harm& harm : harms) add_harm(check, known, *piece, harm);
}

}  // namespace

void check_sinks(Check& check, const KnownSetting& known, std::string_view value) {
    for (const Piece& piece : pieces_of(known, value)) check_piece(check, known, piece);
    // A list that a line contains as a whole, including its separators.
    if (known.record != nullptr) check_piece(check, known, {.text = value, .field = ""});
}

}  // namespace nvram
