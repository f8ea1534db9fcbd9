// The table of all settings that rc reads or writes. A row says everything about its setting: form,
// limits, factory value, secrecy, what rc does without it or with a wrong value, when it is needed,
// an example. nvram check, describe and keys, the reference, the completion and the schema take
// what they say of a setting from here. Its factory value stands in lab/root/etc/default too, and a
// test compares the two.
//
// Derived by tools/renew.sh: from rc's own runs, the actions that use a setting (uses.inc) and the
// lines that its value ends up in (sinks.inc); from the rows, libnvram/secret.inc.
#ifndef RC_SETTINGS_TABLE_H
#define RC_SETTINGS_TABLE_H

#include <cstdint>
#include <span>
#include <string_view>

namespace nvram {

// What a value looks like.
enum class Form : std::uint8_t {
    Text,       // anything; high: the most characters that rc keeps, 0 without a limit
    Flag,       // "1" is on; only the first character counts
    Number,     // decimal, low to high
    Choice,     // one of the words in choices
    Address,    // an IPv4 address, dotted quad (RFC 791)
    Netmask,    // an IPv4 netmask whose ones stand together (RFC 950)
    Mac,        // six pairs of hexadecimal digits, parted by colons (EUI-48)
    Interface,  // the name of a network interface: 1 to 15 characters (linux/if.h, IFNAMSIZ)
    Host,       // a host name (RFC 1123) or an IPv4 address
    Hex,        // hexadecimal digits; low and high count them
    Record,     // one record or a list of records
};

// How bad a finding of nvram check is.
enum class Level : std::uint8_t {
    Note,     // worth knowing
    Warning,  // legal, and probably not what was meant
    Error,    // rc cannot do what the setting says
};

// Characters that rc puts a backslash before, wherever it writes the value.
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

// What parts the words of a Choice: a blank, or '|' where a word holds a blank ("USA|South
// America").
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
    // Choice: the words, parted by blanks. Of another form: words that are legal besides.
    const char* choices = "";
    // What rc does with two records that have the same here, as follows its name: "writes the same
    // rule twice"; nullptr when they may. How bad it is says twice_level.
    const char* twice = nullptr;
    // What the field's name does not tell: the unit, what the words mean.
    const char* help = "";
};

// A setting made of fields.
struct Record {
    // What parts the records of a list; '\0' when there is only one.
    char between = '\0';
    // One record: field names of letters, digits and '_', and what stands between them:
    // "day:from_hour:from_minute-to_hour:to_minute". \x02 stands for itself.
    const char* shape;
    // In the order of the shape's names.
    std::span<const Field> fields;
    // Records beyond these are not used; 0 without a limit.
    std::uint32_t most = 0;
    // The name of the field that has to be 1 for a record to be counted towards most; "" when all
    // records are.
    const char* counted = "";
    // So many characters stand before the first record, and nobody reads them.
    std::uint32_t passed_over = 0;
};

// A test of another setting.
enum class Test : std::uint8_t {
    Always,
    Is,         // its value is one of the words
    Begins,     // its value begins with one of the characters
    BeginsNot,  // with none of them; an empty value begins with none
};

struct Condition {
    Test test = Test::Always;
    const char* key = "";
    // Words parted by blanks, or characters.
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

// When a setting may not be missing: both conditions hold. Missing is what is empty, 0.0.0.0 or, of
// a number, 0.
struct Need {
    Condition when;
    Condition also = {};
    Level level = Level::Error;
    // What rc does without the setting, as follows its name; nullptr when when_empty tells.
    const char* effect = nullptr;
    // What nvram check advises to write; nullptr when that is the row's example.
    const char* cure = nullptr;
};

struct KnownSetting {
    const char* key;
    Form form;
    // An empty value is legal.
    bool may_be_empty : 1 = false;
    // Shown as stars unless asked for.
    bool secret : 1 = false;
    // Text: rc itself cuts the value at high. Of other settings a longer text goes on as it is, to
    // a driver that refuses it.
    bool cut : 1 = false;
    Escapes escapes = Escapes::Nothing;
    // Number: the range. Text: high is the most characters that are of use. Hex: how many digits.
    std::int32_t low = 0;
    std::int32_t high = 0;
    // Choice: the words, parted as choice_separator says.
    const char* choices = "";
    const Record* record = nullptr;
    // The factory settings' value.
    const char* factory = "";
    // A legal value: of records, and of what may be needed. nullptr when the form says enough.
    const char* example = nullptr;
    // What rc does when the value is empty, and when the key is absent ("" when that is the same).
    // Each a short clause: "the firewall is left open".
    const char* when_empty = "";
    const char* when_absent = "";
    // What rc does with a value that is not of the form, as follows its name: "leaves the TTL
    // alone"; nullptr when it is as with others of the form, or goes into lines as it stands.
    const char* when_wrong = nullptr;
    // nullptr when rc can always do without it.
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

// The row of a key; nullptr when rc knows no such setting.
const KnownSetting* find_known(std::string_view key);

}  // namespace nvram

#endif
