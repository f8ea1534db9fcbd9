// docs/man/nvram-settings.5: the reference of all settings as a manual page.
#include <fmt/format.h>

#include <cctype>

#include "reference/reference.h"
#include "reference/words.h"

using nvram::KnownSetting;

namespace {

constexpr const char* head =
    ".\\\" Generated: tools/renew.sh writes this file.\n"
    ".Dd November 21, 2026\n"
    ".Dt NVRAM-SETTINGS 5\n"
    ".Os\n"
    ".Sh NAME\n"
    ".Nm nvram-settings\n"
    ".Nd the router's settings\n"
    ".Sh DESCRIPTION\n"
    "These are the settings that\n"
    ".Xr rc 8\n"
    "reads or writes, by the keys that\n"
    ".Xr nvram 8\n"
    "uses for them.\n"
    "Each value is a string.\n"
    "It is written here as in an exported file: bytes below 0x20, 0x7f and the backslash appear as\n"
    ".Ql \\exHH\n"
    "and\n"
    ".Ql \\e\\e .\n"
    "Only the first character of a flag counts.\n"
    ".Pp\n"
    "A key that is not set has the effect of an empty value, unless the page says otherwise.\n"
    "A secret is shown as\n"
    ".Ql ********\n"
    "unless an option asks for it.\n"
    "After changing a setting, restart the actions of\n"
    ".Xr rc 8\n"
    "that use it.\n"
    ".Sh SETTINGS\n";

constexpr const char* foot =
    ".Sh FILES\n"
    ".Bl -tag -width /etc/default -compact\n"
    ".It Pa /tmp/nvram\n"
    "the working copy of the settings\n"
    ".It Pa /etc/default\n"
    "the factory settings\n"
    ".El\n"
    ".Sh SEE ALSO\n"
    ".Xr nvram 8 ,\n"
    ".Xr rc 8\n";

// A character that roff(7) would interpret or print as another.
std::string_view roff_name(char c) {
    switch (c) {
        case '\\':
            return "\\e";
        case '\'':
            return "\\(aq";
        case '`':
            return "\\(ga";
        case '"':
            return "\\(dq";
        case '^':
            return "\\(ha";
        case '~':
            return "\\(ti";
        case '-':
            return "\\-";
        default:
            return "";
    }
}

std::string roff(std::string_view text) {
    std::string out;
    for (const char c : text) {
        const std::string_view name = roff_name(c);
        if (name.empty())
            out += c;
        else
            out += name;
    }
    return out;
}

// A line of text; one that starts with '.' or '\'' would be a request.
std::string line(std::string_view text) {
    return (text.starts_with('.') ? "\\&" : "") + roff(text) + "\n";
}

// One argument of a macro, never another macro's name or a closing full stop. A long one may be
// broken at the separators in it.
std::string word(std::string_view text) {
    constexpr size_t is_long = 30;
    std::string argument = "\\&";
    for (const char c : text) {
        if (c == '\\' && text.size() > is_long) argument += "\\:";
        argument += c == ' ' ? "\\ " : roff({&c, 1});
        if ((c == ':' || c == '_') && text.size() > is_long) argument += "\\:";
    }
    return argument;
}

std::string item(std::string_view name, std::string_view text) {
    return fmt::format(".It {}\n{}", name, line(text));
}

// Each word of a choice has its own line.
std::string form_lines(const FormInWords& parts, std::string_view help) {
    std::string text = roff(parts.form) + parts.before_words;
    const char* between = "\n";
    for (const std::string_view one : parts.words) {
        text += fmt::format("{}.Ql {}", between, word(one));
        between = " ,\n";
    }
    if (parts.or_empty) text += parts.words.empty() ? ", or empty" : " ,\nor empty";
    text += parts.limit + "\n";
    return help.empty() ? text : text + "\\(en " + roff(help) + "\n";
}

std::string record_items(const KnownSetting& setting) {
    std::string text = ".It record\n.Ql " + word(escaped(setting.record->shape)) + "\n";
    for (const nvram::Field& field : setting.record->fields)
        text +=
            fmt::format(".It Em {}\n{}", word(field.name), form_lines(in_words(field), field.help));
    if (setting.example != nullptr)
        text += ".It example\n.Ql " + word(escaped(setting.example)) + "\n";
    return text;
}

std::string factory_item(const KnownSetting& setting) {
    const std::string value = escaped(setting.factory);
    return ".It factory value\n" + (value.empty() ? "empty\n" : ".Ql " + word(value) + "\n");
}

std::string actions_item(std::string_view actions) {
    if (actions.empty()) return item("used by", "no action of rc");
    std::string text = ".It used by\n";
    const char* before = "";
    for (const std::string_view action : split_words(actions)) {
        text += fmt::format("{}.Ql rc {}", before, word(action));
        before = " ,\n";
    }
    return text + "\n";
}

std::string entry(const Reference& reference, const KnownSetting& setting) {
    std::string text = fmt::format(".It Va {}\n", word(setting.key)) + line(sentence(setting.help));
    text += ".Bl -tag -width \"factory value\" -compact\n";
    text += ".It form\n" + form_lines(in_words(setting), "");
    if (setting.record != nullptr) text += record_items(setting);
    text += factory_item(setting);
    if (*setting.when_empty != '\0') text += item("if empty", setting.when_empty);
    if (*setting.when_absent != '\0') text += item("if not set", setting.when_absent);
    if (setting.secret) text += item("secret", "yes");
    return text + actions_item(nvram::actions_of(reference.uses, setting.key)) + ".El\n";
}

}  // namespace

std::string settings_man_page(const Reference& reference) {
    std::string text = head;
    for (const nvram::SettingGroup& group : reference.groups) {
        text += fmt::format(".Ss {}\n.Bl -tag -width Ds\n", group.title);
        for (const KnownSetting& setting : group.settings) text += entry(reference, setting);
        text += ".El\n";
    }
    return text + foot;
}
