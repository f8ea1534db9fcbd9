// The table of all settings that rc reads or writes: form, limits, factory value, meaning, help.
// What is said about a setting anywhere (nvram check, describe and keys, the reference, the
// completion, the web forms' schema) comes from here.
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
    std::int32_t low = 0;
    std::int32_t high = 0;
    // Choice: the words, parted by blanks. Of another form: words that are legal besides.
    const char* choices = "";
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

struct KnownSetting {
    const char* key;
    Form form;
    // An empty value is legal.
    bool may_be_empty = false;
    bool secret = false;
    // Number: the range. Text: high is the most characters that are kept. Hex: how many digits.
    std::int32_t low = 0;
    std::int32_t high = 0;
    // Choice: the words, parted as choice_separator says.
    const char* choices = "";
    const Record* record = nullptr;
    // The factory settings' value.
    const char* factory = "";
    // What rc does when the value is empty, and when the key is absent ("" when that is the same).
    // Each a short clause: "the firewall is left open".
    const char* when_empty = "";
    const char* when_absent = "";
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
