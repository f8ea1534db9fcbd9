// The parts of the check, and what they share.
#ifndef RC_CHECK_CHECK_PARTS_H
#define RC_CHECK_CHECK_PARTS_H

#include <string>
#include <string_view>

#include "check/check.h"
#include "core/ipv4.h"
#include "settings/forms.h"
#include "settings/records.h"
#include "settings/table.h"

namespace nvram {

// One check: the settings, and what has been found so far, sorted by key.
struct Check {
    const Image& image;
    std::span<const Sink> sinks;
    std::vector<Finding> findings;
};

// A note on one setting; if fix is empty, no fix is suggested.
struct Remark {
    std::string problem;
    std::string effect;
    std::string fix;
};

// Adds the key and its value: escaped, or as asterisks if the key or the caller
// says that it is a secret.
void add(Check& check, Level level, std::string_view key, Remark remark, bool secret = false);

// Settings as rc reads them: one that is not set is empty.
std::string_view text_of(const Check& check, std::string_view key);
// Only the first character counts.
bool is_on(const Check& check, std::string_view key);
bool begins_with(const Check& check, std::string_view key, char first);
// As atoi(3).
int number_of(const Check& check, std::string_view key);
// A valid address other than 0.0.0.0.
std::optional<std::uint32_t> address_of(const Check& check, std::string_view key);
// Of the firewall, its forwards, its blocking or QoS, none of which an access point starts.
bool is_of_firewall(const KnownSetting& known);
// Empty or 0.0.0.0.
bool is_missing(const Check& check, std::string_view key);
// The LAN, if its address and mask are valid.
std::optional<Net> lan_of(const Check& check);

std::string assignment(std::string_view key, std::string_view value);
// A text as the image escapes it, so that it stays one line.
std::string escaped(std::string_view text);
// A text between single quotes, as the image escapes it.
std::string quoted(std::string_view text);
std::string lower_case(std::string_view text);

// check_needs.cc: whether a test of other settings holds.
bool holds(const Check& check, const Condition& condition);

// check_lines.cc: what rc does with a sink's line under these settings.
enum class Written : std::uint8_t {
    Never,  // not this text, whatever the other settings are
    No,
    Maybe,  // it depends on more than the conditions say
    Yes,
};
// Another value of a setting.
struct OtherValue {
    std::string name;
    std::string value;
};
struct Writing {
    Written now = Written::Yes;
    // With these rc would write it.
    std::vector<OtherValue> changes = {};
    // The settings of which the table does not say with which values, and fields of the same
    // record, whose names begin with ':'.
    std::vector<std::string> unclear = {};
};
Writing writing_of(const Check& check, const Sink& sink, const KnownSetting& known,
                   const Piece& piece);
// The higher, the better an example the line is.
int rank_of(const Sink& sink, const Writing& writing);
// The number of characters from which on rc writes a text into the line.
std::size_t least_length(const Sink& sink);
// As much of the text as rc writes into the line.
std::string_view text_in(const Sink& sink, std::string_view text);
// "runs: LINE", "writes into FILE: LINE", with the line as rc writes it, escaped so that it stays
// one line; "..." for what no setting says, asterisks for secrets. If rc does not write it now, the
// settings with which it would come first.
std::string line_effect(const Check& check, const Sink& sink, const KnownSetting& known,
                        const Piece& piece);
// Whether the text is a word of its own in the line.
bool stands_alone(const Sink& sink);
// Whether rc uses the entry of a list that this piece is a part of.
bool is_used(const KnownSetting& known, const Piece& piece, std::string_view value);
// check_entries.cc: the piece with the text that rc takes there, nullopt if it takes none.
std::optional<Piece> taken_piece(const KnownSetting& known, const Piece& piece,
                                 std::string_view value);

// check_effects.cc: what rc does with a value that is not of its setting's form, or with such a
// piece of it.
std::string effect_of_wrong(const Check& check, const KnownSetting& known, const Piece& piece);
// The same with a flag of several characters.
std::string effect_of_long_flag(const Check& check, const KnownSetting& known,
                                std::string_view value);
// check_entries.cc: the same of a record's field, where rc reads the record in its own way; ""
// where it does not.
std::string effect_in_entry(const Check& check, const KnownSetting& known, const Piece& piece);
// Of a QoS rule, rc takes some texts that start with 0 as not given.
bool is_not_given(const KnownSetting& known, const Piece& piece);

// check_forms.cc: one setting's value by itself.
void check_form(Check& check, const KnownSetting& known, std::string_view value);
// A setting that is not set or empty.
void check_missing(Check& check, const KnownSetting& known, bool absent);
// Keys that are not in the table.
void check_unknown_keys(Check& check);

// check_sinks.cc: what the value does to the lines that contain it.
void check_sinks(Check& check, const KnownSetting& known, std::string_view value);

// Combinations of settings, one file for each area.
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
