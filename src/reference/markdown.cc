// docs/settings.md: the reference of all settings.
#include <fmt/format.h>

#include <cctype>
#include <map>

#include "reference/reference.h"
#include "reference/shape.h"
#include "reference/words.h"

using nvram::KnownSetting;

namespace {

constexpr const char* introduction =
    "# Settings\n"
    "\n"
    "<!-- Generated: tools/renew.sh writes this file. -->\n"
    "\n"
    "All settings that `rc` reads or writes, by the keys that `nvram get` and `nvram set` use.\n"
    "\n"
    "- Each value is a string. It is written here as in an exported file: bytes below 0x20, 0x7f and the backslash\n"
    "  appear as `\\xHH` and `\\\\`. Only the first character of a flag counts.\n"
    "- The factory value is the one in `lab/root/etc/default`.\n"
    "- *If empty* says what `rc` does with an empty value, *if not set* what it does if the key does not exist. Without\n"
    "  *if not set*, a key that does not exist has the effect of an empty value.\n"
    "- A *secret* is shown as `********` unless an option asks for it.\n"
    "- *Used by* lists the actions of `rc` that read or write the setting. After changing a setting, restart these.\n";

// Text with all markup characters escaped.
std::string plain(std::string_view text) {
    std::string escaped_text;
    for (size_t i = 0; i < text.size(); i++) {
        const char c = text[i];
        const bool in_word = i > 0 && i + 1 < text.size() &&
                             std::isalnum(static_cast<unsigned char>(text[i - 1])) != 0 &&
                             std::isalnum(static_cast<unsigned char>(text[i + 1])) != 0;
        const bool markup = std::string_view("\\`*<>[]|").find(c) != std::string_view::npos;
        if (markup || (c == '_' && !in_word)) escaped_text += '\\';
        escaped_text += c;
    }
    return escaped_text;
}

// A code span, with as many backticks as the text needs.
std::string code(std::string_view text) {
    std::string fence = "`";
    while (text.find(fence) != std::string_view::npos) fence += '`';
    const bool blank = text.starts_with('`') || text.ends_with('`');
    return fmt::format("{0}{1}{2}{1}{0}", fence, blank ? " " : "", text);
}

std::string value(std::string_view text) {
    return text.empty() ? "empty" : code(escaped(text));
}

// In a table a '|' ends even a code span.
std::string cell(std::string_view text) {
    std::string escaped_text;
    for (const char c : text) {
        if (c == '|') escaped_text += '\\';
        escaped_text += c;
    }
    return escaped_text;
}

std::string marked_up(const FormInWords& parts) {
    std::vector<std::string> words;
    for (const std::string_view word : parts.words) words.push_back(code(word));
    std::string text = plain(parts.form);
    if (!words.empty()) text += fmt::format("{} {}", parts.before_words, fmt::join(words, ", "));
    if (parts.or_empty) text += ", or empty";
    return text + parts.limit;
}

std::string fields_table(const nvram::Record& record) {
    std::string text = "\n  | field | form | meaning |\n  |---|---|---|\n";
    for (const nvram::Field& field : record.fields)
        text += fmt::format("  | {} | {} | {} |\n", code(field.name),
                            cell(marked_up(in_words(field))), plain(field.help));
    return text + "\n";
}

std::string actions_line(std::string_view actions) {
    if (actions.empty()) return "- Used by: no action of `rc`\n";
    std::vector<std::string> list;
    for (const std::string_view action : split_words(actions))
        list.push_back(code(fmt::format("rc {}", action)));
    return fmt::format("- Used by: {}\n", fmt::join(list, ", "));
}

std::string record_lines(const KnownSetting& setting) {
    std::string text = fmt::format("- Record format: {}\n", code(escaped(setting.record->shape)));
    text += fields_table(*setting.record);
    if (setting.example != nullptr)
        text += fmt::format("- Example: {}\n",
                            code(fmt::format("{}={}", setting.key, escaped(setting.example))));
    return text;
}

std::string entry(const Reference& reference, const KnownSetting& setting) {
    std::string text =
        fmt::format("\n### {}\n\n{}\n\n", plain(setting.key), plain(sentence(setting.help)));
    text += fmt::format("- Form: {}\n", marked_up(in_words(setting)));
    if (setting.record != nullptr) text += record_lines(setting);
    text += fmt::format("- Factory value: {}\n", value(setting.factory));
    if (*setting.when_empty != '\0')
        text += fmt::format("- If empty: {}\n", plain(setting.when_empty));
    if (*setting.when_absent != '\0')
        text += fmt::format("- If not set: {}\n", plain(setting.when_absent));
    if (setting.secret) text += "- Secret\n";
    return text + actions_line(nvram::actions_of(reference.uses, setting.key));
}

// The anchors of a page's headings, as code-hosting sites generate them: lower case, spaces as
// '-', a number appended to a repeated anchor. Call next() in the page's order.
class Anchors {
  public:
    std::string next(std::string_view heading) {
        std::string anchor;
        for (const char c : heading) {
            if (c == ' ') anchor += '-';
            if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_')
                anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
        const int before = count_[anchor]++;
        return before == 0 ? anchor : fmt::format("{}-{}", anchor, before);
    }

  private:
    std::map<std::string, int> count_;
};

std::string contents(const Reference& reference) {
    Anchors anchors;
    anchors.next("Settings");
    anchors.next("Contents");
    std::string text = "\n## Contents\n\n";
    for (const nvram::SettingGroup& group : reference.groups) {
        text += fmt::format("- [{}](#{})", group.title, anchors.next(group.title));
        const char* before = ": ";
        for (const KnownSetting& setting : group.settings) {
            text +=
                fmt::format("{}[{}](#{})", before, plain(setting.key), anchors.next(setting.key));
            before = ",\n  ";
        }
        text += "\n";
    }
    return text;
}

}  // namespace

std::string settings_markdown(const Reference& reference) {
    std::string text = introduction + contents(reference);
    for (const nvram::SettingGroup& group : reference.groups) {
        text += fmt::format("\n## {}\n", group.title);
        for (const KnownSetting& setting : group.settings) text += entry(reference, setting);
    }
    return text;
}
