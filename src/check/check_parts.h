// The parts of the check, and what they share.
#ifndef RC_CHECK_CHECK_PARTS_H
#define RC_CHECK_CHECK_PARTS_H

#include <string>
#include <string_view>

#include "check/check.h"
#include "core/ipv4.h"
#include "settings/forms.h"
#include "settings/table.h"

namespace nvram {

// One check: the settings, and what has been found so far, sorted by key.
struct Check {
    const Image& image;
    std::span<const Sink> sinks;
    std::vector<Finding> findings;
};

// What is said about one setting; an empty cure means that there is nothing to write.
struct Remark {
    std::string problem;
    std::string effect;
    std::string cure;
};

// The setting and its value are put in, the value escaped, or as stars when the key or the caller
// says that it is a secret.
void add(Check& check, Level level, std::string_view key, Remark remark, bool secret = false);

// Settings as rc reads them: one that is not set reads as the empty text.
std::string_view text_of(const Check& check, std::string_view key);
// Only the first character counts.
bool is_on(const Check& check, std::string_view key);
bool begins_with(const Check& check, std::string_view key, char first);
// As atoi(3).
int number_of(const Check& check, std::string_view key);
// An address that is one, and is not 0.0.0.0.
std::optional<std::uint32_t> address_of(const Check& check, std::string_view key);
// Empty, or an address that stands for none.
bool is_missing(const Check& check, std::string_view key);
// The LAN, when its address and mask are sound.
std::optional<Net> lan_of(const Check& check);

std::string assignment(std::string_view key, std::string_view value);
// A text as the image escapes it, so that it stays one line.
std::string escaped(std::string_view text);
// A text in words: between single quotes and as the image escapes it.
std::string quoted(std::string_view text);

// check_effects.cc: what rc does with a value that is not of its setting's form, or with one such
// piece of it.
std::string effect_of_wrong(const Check& check, const KnownSetting& known, std::string_view piece);
// A sink's line with a text in its place, escaped so that it stays one line.
std::string line_with(const Sink& sink, std::string_view text);
// Whether the text is a word of its own in the line; of some settings only a part goes into others.
bool stands_alone(const Sink& sink);
// What is shown of a piece of a value: stars when it is a secret's.
std::string_view shown_piece(const KnownSetting& known, std::string_view piece);

// check_forms.cc: one setting's value by itself.
void check_form(Check& check, const KnownSetting& known, std::string_view value);
// A setting that is not there, or that is empty.
void check_missing(Check& check, const KnownSetting& known, bool absent);
// A key that the table does not have.
void check_unknown(Check& check, std::string_view key);

// check_sinks.cc: what the value does to the lines that it is put into.
void check_sinks(Check& check, const KnownSetting& known, std::string_view value);

// Settings against each other, an area a file.
void check_needs(Check& check);
void check_lan(Check& check);
void check_services(Check& check);
void check_wan(Check& check);
void check_firewall(Check& check);
void check_forwards(Check& check);
void check_qos(Check& check);
void check_schedules(Check& check);
void check_wireless(Check& check);
void check_wds_and_wps(Check& check);
void check_duplicates(Check& check);

}  // namespace nvram

#endif
