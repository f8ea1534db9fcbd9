// The table of all settings that rc reads or writes. A row says everything about its setting: form,
// limits, factory value, secrecy, what rc does without it or with a wrong value, when it is needed,
// an example. nvram check, describe and keys, the reference, the completion and the schema read it.
// lab/root/etc/default has the factory value too, and a test compares the two.
//
// Derived by tools/renew.sh: from rc's own runs, the actions that use a setting (uses.inc) and the
// lines that its value ends up in (sinks.inc); from the rows, libnvram/secret.inc.
#ifndef RC_SETTINGS_TABLE_H
#define RC_SETTINGS_TABLE_H

#include <cstdint>
#include <span>
#include <string_view>

namespace nvram {

// The form of a value.
enum class Form : std::uint8_t {
    Text,       // no control characters; high: the maximum of bytes that rc keeps, 0 for no limit
    Flag,       // "1" is on; only the first character counts
    Number,     // decimal, low to high
    Choice,     // one of the words in choices
    Address,    // an IPv4 address that a host can have, dotted quad; or 0.0.0.0 for none
    Quad,       // any IPv4 address: of a network, a broadcast, an end of a range (RFC 791)
    Netmask,    // an IPv4 netmask of contiguous ones (RFC 950)
    Mac,        // a host's: six pairs of hexadecimal digits, separated by colons (EUI-48)
    Interface,  // the name of a network interface: 1 to 15 characters (linux/if.h, IFNAMSIZ)
    Host,       // a host name (RFC 1123) or a host's IPv4 address
    Hex,        // hexadecimal digits; low and high count them
    Record,     // one record or a list of records
};

// The severity of a finding of nvram check.
enum class Level : std::uint8_t {
    Note,     // worth knowing
    Warning,  // legal, but probably not intended
    Error,    // rc cannot do what the setting says
};

// Characters that rc escapes with a backslash wherever it writes the value.
enum class Escapes : std::uint8_t {
    Nothing,
    Account,     // of a PPP account: \ " $ ' ` (wan/ppp_secrets.cc)
    StationKey,  // of the network that the radio joins: ` " (wireless/station.cc)
};

constexpr std::string_view escaped_characters(Escapes escapes) {
    switch (escapes) {
        case Escapes::Nothing:
            break;
        case Escapes::Account:
            return "\\\"$'`";
        case Escapes::StationKey:
            return "`\"";
    }
    return "";
}

// The separator between the words of a Choice: a space, or '|' if a word contains a space
// ("USA|South America").
constexpr char choice_separator(std::string_view choices) {
    return choices.find('|') == std::string_view::npos ? ' ' : '|';
}

// One field of a record. Its form is not Record.
struct Field {
    const char* name;
    Form form;
    bool may_be_empty = false;
    Level twice_level = Level::Note;
    std::int32_t low = 0;
    std::int32_t high = 0;
    // Choice: the words, separated by spaces. Other forms: words that are legal too.
    const char* choices = "";
    // The effect of two records with the same text in this field, a verb phrase after "rc":
    // "writes the same rule twice"; nullptr if that is legal. twice_level is its severity.
    const char* twice = nullptr;
    // What the field's name does not say: the unit, what the words mean.
    const char* help = "";
};

// A setting made of fields.
struct Record {
    // The separator between the records of a list; '\0' if there is only one record.
    char between = '\0';
    // One record: field names of letters, digits and '_', and the separators between them:
    // "day:from_hour:from_minute-to_hour:to_minute". \x02 is the byte itself.
    const char* shape;
    // In the order of the shape's names.
    std::span<const Field> fields;
    // Fewer records are an error.
    std::uint32_t least = 0;
    // Further records are not used; 0 means no limit.
    std::uint32_t most = 0;
    // The name of the field that must be 1 for a record to count towards most; "" if all
    // records count.
    const char* counted = "";
    // The number of characters before the first record, which rc ignores.
    std::uint32_t ignored_prefix = 0;
};

// A test of another setting.
enum class Test : std::uint8_t {
    Always,
    Is,         // its value is one of the words
    Begins,     // its value begins with one of the characters
    BeginsNot,  // its value begins with none of them, or is empty
};

struct Condition {
    Test test = Test::Always;
    const char* key = "";
    // Words separated by spaces, or characters.
    const char* text = "";
};

constexpr Condition if_is(const char* key, const char* words) {
    return {.test = Test::Is, .key = key, .text = words};
}

constexpr Condition if_begins(const char* key, const char* characters) {
    return {.test = Test::Begins, .key = key, .text = characters};
}

constexpr Condition if_begins_not(const char* key, const char* characters) {
    return {.test = Test::BeginsNot, .key = key, .text = characters};
}

constexpr Condition if_on(const char* key) {
    return if_begins(key, "1");
}

// A setting must not be missing if both conditions hold. Missing means empty, 0.0.0.0 or, of
// a number, 0.
struct Need {
    Condition when;
    Condition also = {};
    Level level = Level::Error;
    // The effect of the missing setting, a verb phrase after "rc"; nullptr if when_empty says it.
    const char* effect = nullptr;
    // The value that nvram check suggests; nullptr for the row's example.
    const char* fix = nullptr;
};

struct KnownSetting {
    const char* key;
    Form form;
    // An empty value is legal.
    bool may_be_empty : 1 = false;
    // Shown as asterisks unless an option requests the value.
    bool secret : 1 = false;
    // Text: rc itself cuts the value at high. For other settings rc passes a longer text on, to
    // a driver that rejects it.
    bool cut : 1 = false;
    Escapes escapes = Escapes::Nothing;
    // Number: the range. Text: high is the maximum useful length. Hex: the number of digits.
    std::int32_t low = 0;
    std::int32_t high = 0;
    // Choice: the words, separated as choice_separator says.
    const char* choices = "";
    const Record* record = nullptr;
    // The factory settings' value.
    const char* factory = "";
    // A legal value, for records and for settings that may be needed; nullptr if the form says
    // enough.
    const char* example = nullptr;
    // The effects of an empty value and of an absent key ("" if they are the same). Each is a
    // short clause: "the firewall is left open".
    const char* when_empty = "";
    const char* when_absent = "";
    // The effect of a value that is not of the form, a verb phrase after "rc": "leaves the TTL
    // unchanged"; nullptr if rc treats it like any other, or writes it into lines unchanged.
    const char* when_wrong = nullptr;
    // nullptr if rc never needs it.
    const Need* needed = nullptr;
    // One line of help: what it is, the unit, what the words of choices mean.
    const char* help;
};

// Settings that belong together, in the order in which the reference shows them.
struct SettingGroup {
    const char* title;
    std::span<const KnownSetting> settings;
};

std::span<const SettingGroup> setting_groups();

// The row of a key; nullptr if the table has no such setting.
const KnownSetting* find_known(std::string_view key);

}  // namespace nvram

#endif
