// Single values: their forms, and the shapes of their records.
#include <algorithm>

#include "check/check_parts.h"
#include "libnvram/secret.h"
#include "settings/records.h"

namespace nvram {

namespace {

constexpr std::size_t near = 2;

// The word that was probably meant. Words of one or two letters are all near, so none is suggested.
std::string_view nearest_word(const Limits& limits, std::string_view value) {
    std::string_view nearest;
    std::size_t distance = near + 1;
    for (const std::string_view word : words_of(limits.choices)) {
        const std::size_t found = edit_distance(word, value, near);
        if (found >= distance || found + 1 >= word.size()) continue;
        distance = found;
        nearest = word;
    }
    return nearest;
}

// A value to suggest: the nearest word, or the factory value.
std::string better_value(const KnownSetting& known, std::string_view value) {
    const Limits limits = limits_of(known);
    if (limits.form == Form::Choice && !value.empty())
        return std::string(nearest_word(limits, value));
    return known.factory;
}

std::string fix_of(const KnownSetting& known, std::string_view value) {
    const std::string better = better_value(known, value);
    return better.empty() ? form_text(limits_of(known)) : assignment(known.key, better);
}

// A length as a user counts it, unless letters have more than one byte.
std::string length_text(std::string_view text) {
    const bool plain =
        std::none_of(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
    return "has " + std::to_string(text.size()) + (plain ? " characters" : " bytes");
}

void check_length(Check& check, const KnownSetting& known, std::string_view value) {
    const auto limit = static_cast<std::size_t>(known.high);
    if (known.form != Form::Text || limit == 0 || value.size() <= limit) return;
    const std::string most = std::to_string(limit);
    const std::string_view kept = whole_letters(value, limit);
    std::string effect = "passes all of it on, to a driver that accepts no more than " + most;
    if (known.cut) {
        effect = "keeps the first " + most + ": " + quoted(kept);
        if (kept.size() < limit) effect += " and part of a letter";
    }
    add(check, known.cut ? Level::Warning : Level::Error, known.key,
        {.problem = length_text(value) + "; the maximum is " + most,
         .effect = effect,
         .fix = known.secret ? "at most " + most + " bytes" : assignment(known.key, kept)});
}

void check_flag(Check& check, const KnownSetting& known, std::string_view value) {
    if (known.form != Form::Flag || value.size() == 1) return;
    add(check, Level::Warning, known.key,
        {.problem = "is longer than one character",
         .effect = effect_of_long_flag(check, known, value),
         .fix = assignment(known.key, value.substr(0, 1))});
}

void check_field(Check& check, const KnownSetting& known, const Piece& piece, const Field& field) {
    Limits limits = limits_of(field);
    // In a record's flag every character counts.
    if (field.form == Form::Flag) limits = {.form = Form::Choice, .choices = "0 1"};
    const std::string place = place_text(piece.entry, field.name);
    if (piece.text.empty()) {
        if (field.may_be_empty) return;
        add(check, Level::Error, known.key,
            {.problem = place + ": is empty; expected " + form_text(limits),
             .effect = effect_of_wrong(check, known, piece),
             .fix = form_text(limits)});
        return;
    }
    const std::string problem = form_problem(limits, piece.text);
    if (!problem.empty()) {
        add(check, Level::Error, known.key,
            {.problem = place + ": " + quoted(piece.text) + " " + problem,
             .effect = effect_of_wrong(check, known, piece),
             .fix = form_text(limits)});
        return;
    }
    const auto limit = static_cast<std::size_t>(field.high);
    if (field.form != Form::Text || limit == 0 || piece.text.size() <= limit) return;
    add(check, Level::Warning, known.key,
        {.problem = place + ": " + quoted(piece.text) + " " + length_text(piece.text) +
                    "; the maximum is " + std::to_string(limit),
         .effect = "keeps " + quoted(whole_letters(piece.text, limit)),
         .fix = "at most " + std::to_string(limit) + " characters"});
}

void check_entry(Check& check, const KnownSetting& known, std::string_view text, unsigned entry) {
    const Record& record = *known.record;
    const std::vector<std::string_view> fields = split_fields(record, text);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const Piece piece = {
            .text = fields[i], .entry = entry, .field = record.fields[i].name, .record = text};
        check_field(check, known, piece, record.fields[i]);
    }
    if (fields.size() == record.fields.size()) return;
    std::string where = place_text(entry, nullptr);
    if (!where.empty()) where += ": ";
    add(check, Level::Error, known.key,
        {.problem =
             where + quoted(text) + " ends before field " + record.fields[fields.size()].name,
         .effect = effect_of_wrong(check, known,
                                   {.text = "",
                                    .entry = entry,
                                    .field = record.fields[fields.size()].name,
                                    .record = text}),
         .fix = std::string("an entry of the form ") + quoted(record.shape)});
}

// Whether rc stores the record, so that it counts towards the limit.
bool is_counted(const Record& record, std::string_view text) {
    if (*record.counted == '\0') return true;
    const std::vector<std::string_view> fields = split_fields(record, text);
    const std::size_t place = field_place(record, record.counted);
    return place < fields.size() && fields[place] == "1";
}

void check_count(Check& check, const KnownSetting& known,
                 const std::vector<std::string_view>& records) {
    const Record& record = *known.record;
    std::size_t counted = 0;
    std::string unused;
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (!is_counted(record, records[i]) || ++counted <= record.most) continue;
        unused += unused.empty() ? "does not use entry " : ", ";
        unused += std::to_string(i + 1);
    }
    if (record.most == 0 || counted <= record.most) return;
    const char* const enabled = *record.counted == '\0' ? " " : " enabled ";
    add(check, Level::Error, known.key,
        {.problem = "has " + std::to_string(counted) + enabled + "entries; the maximum is " +
                    std::to_string(record.most),
         .effect = unused,
         .fix = "at most " + std::to_string(record.most) + enabled + "entries"});
}

void check_records(Check& check, const KnownSetting& known, std::string_view value) {
    const Record& record = *known.record;
    const std::vector<std::string_view> records = split_records(record, value);
    unsigned entry = 0;
    for (const std::string_view text : records) {
        ++entry;
        if (!text.empty()) {
            check_entry(check, known, text, record.between == '\0' ? 0 : entry);
            continue;
        }
        add(check, Level::Note, known.key,
            {.problem = "entry " + std::to_string(entry) + " is empty",
             .effect = "skips it",
             .fix = "a single separator between two entries"});
    }
    check_count(check, known, records);
}

// A further WAN connection's interface, whose number igmp_port gives.
bool is_made_up_by_rc(std::string_view key) {
    constexpr std::string_view beginning = "wan_ifname";
    return key.starts_with(beginning) && key.size() == beginning.size() + 1;
}

}  // namespace

void check_form(Check& check, const KnownSetting& known, std::string_view value) {
    // Its names are separated by spaces, too; check_firewall.cc reads it as rc does.
    if (known.key == std::string_view("access_control")) return;
    if (known.record != nullptr) return check_records(check, known, value);
    const std::string problem = form_problem(limits_of(known), value);
    if (!problem.empty()) {
        add(check, Level::Error, known.key,
            {.problem = problem,
             .effect = effect_of_wrong(check, known, {.text = value}),
             .fix = fix_of(known, value)});
        return;
    }
    check_length(check, known, value);
    check_flag(check, known, value);
}

void check_missing(Check& check, const KnownSetting& known, bool absent) {
    const bool differs = absent && *known.when_absent != '\0';
    if (known.may_be_empty && !differs) return;
    std::string effect = differs ? known.when_absent : known.when_empty;
    if (effect.empty()) effect = "reads an empty value";
    const Level level = !differs ? Level::Error : known.may_be_empty ? Level::Note : Level::Warning;
    add(check, level, known.key,
        {.problem = absent ? "is not set" : "is empty; expected " + form_text(limits_of(known)),
         .effect = effect,
         .fix = fix_of(known, "")});
}

static const char* nearest_key(std::string_view key) {
    const char* nearest = nullptr;
    std::size_t distance = near + 1;
    for (const SettingGroup& group : setting_groups()) {
        for (const KnownSetting& known : group.settings) {
            const std::size_t found = edit_distance(known.key, key, near);
            if (found >= distance) continue;
            distance = found;
            nearest = known.key;
        }
    }
    return nearest;
}

static void add_misspelt(Check& check, std::string_view key, const char* nearest) {
    // The misspelt key may be that of a password.
    const bool secret = is_secret(key) || is_secret(nearest);
    const std::string_view value = secret ? "..." : text_of(check, key);
    add(check, Level::Note, key,
        {.problem = std::string("is not a setting of rc; the nearest is ") + nearest,
         .effect = "ignores it",
         .fix = assignment(nearest, value)},
        secret);
}

void check_unknown_keys(Check& check) {
    constexpr std::size_t few = 2;
    std::vector<std::string_view> strange;
    for (const Entry& entry : check.image.entries()) {
        if (find_known(entry.key) != nullptr || is_made_up_by_rc(entry.key)) continue;
        if (const char* const nearest = nearest_key(entry.key))
            add_misspelt(check, entry.key, nearest);
        else
            strange.push_back(entry.key);
    }
    // Many belong to another program: they are one finding.
    const bool many = strange.size() > few;
    for (std::size_t i = 0; i < (many ? std::min<std::size_t>(1, strange.size()) : strange.size());
         ++i) {
        std::string problem = "is not a setting of rc";
        for (std::size_t j = 1; many && j < strange.size(); ++j)
            problem += (j == 1 ? ", nor are " : ", ") + std::string(strange[j]);
        add(check, Level::Note, strange[i],
            {.problem = problem, .effect = many ? "ignores them" : "ignores it", .fix = ""});
    }
}

}  // namespace nvram
