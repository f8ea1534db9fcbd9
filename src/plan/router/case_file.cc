// Reads case files. An inherited case is joined as text and then parsed as a whole case.

#include "plan/router/case_file.h"

#include <errno.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "core/text.h"
#include "plan/router/case_difference.h"
#include "plan/router/transcript.h"

namespace {

// A line above "expect" and the body below it. A later item with the same name replaces an earlier
// one.
struct Item {
    std::string directive;
    std::string key;   // of the things of this kind, which: "" where there is one only
    std::string text;  // as in the file
};

std::string key_of(std::string_view directive, const std::string& rest) {
    for (const char* assigned : {"setting", "change", "flash", "factory", "environment"})
        if (directive == assigned) return rest.substr(0, rest.find('='));
    for (const char* whole : {"file", "output"})
        if (directive == whole) return rest;
    const std::vector<std::string> words = command_words(rest);
    if ((directive == "interface" || directive == "host") && !words.empty()) return words[0];
    if (directive == "deny" && words.size() == 2) return words[0] + " " + words[1];
    return "";
}

Item item_of(std::string_view line) {
    Item item = {.directive = {}, .key = {}, .text = std::string(line) + "\n"};
    item.directive = take_field(line, ' ');
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    item.key = key_of(item.directive, unescape_line(line));
    return item;
}

// A file above "expect": its own items, and its relation to another case.
struct Head {
    std::string text;  // with the line "expect"
    int lines = 0;
    std::vector<Item> items;
    std::string like;  // empty for a whole case
    int like_line = 0;
    struct Without {
        int line;
        Item item;  // the item that is left out
    };
    std::vector<Without> without;
    // "line 3: ...", or empty.
    std::string wrong;
};

void take_line(Head& head, std::string_view line) {
    head.lines++;
    head.text.append(line).append("\n");
    if (line.empty() || line.starts_with("#") || line == "expect") return;
    if (line.starts_with("     ")) {
        if (!head.items.empty()) head.items.back().text.append(line).append("\n");
        return;
    }
    const Item item = item_of(line);
    const std::string_view rest =
        line.substr(std::min(line.find_first_not_of(' ', item.directive.size()), line.size()));
    if (item.directive == "like") {
        if (head.like_line != 0) head.wrong = format("line %d: a second 'like'", head.lines);
        if (rest.empty()) head.wrong = format("line %d: like takes a case file", head.lines);
        head.like = rest;
        head.like_line = head.lines;
    } else if (item.directive == "without") {
        head.without.push_back({.line = head.lines, .item = item_of(rest)});
    } else {
        head.items.push_back(item);
    }
}

Head read_head(std::string_view text) {
    Head head;
    while (!text.empty()) {
        const std::string_view line = take_field(text, '\n');
        take_line(head, line);
        if (line == "expect") break;
    }
    return head;
}

std::optional<std::string> read_text(const std::string& path) {
    // A folder can be opened, but reading it throws.
    if (std::filesystem::is_directory(path)) {
        errno = EISDIR;
        return std::nullopt;
    }
    std::ifstream file(path == "-" ? "/dev/stdin" : path, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    return file ? std::optional(std::move(text)) : std::nullopt;
}

// The file's own lines as a case, each at its line number, so that errors in them are found
// independently of the inherited lines.
std::string own_lines(const Head& head) {
    std::string text;
    std::string_view rest = head.text;
    while (!rest.empty()) {
        const std::string_view line = take_field(rest, '\n');
        if (line.starts_with("like "))
            text += "command  inherited";
        else if (!line.starts_with("without "))
            text += line;
        text += "\n";
    }
    return text;
}

std::string remove_inherited(std::vector<Item>& items, const Head& head) {
    for (const Head::Without& without : head.without) {
        const Item& left = without.item;
        const auto removed = std::erase_if(items, [&left](const Item& item) {
            return item.directive == left.directive && (left.key.empty() || item.key == left.key);
        });
        if (removed > 0) continue;
        const std::string what = left.directive + (left.key.empty() ? "" : " " + left.key);
        return format("line %d: %s has no '%s'", without.line, head.like.c_str(), what.c_str());
    }
    return "";
}

// The head of a case that is like another, in the form of a whole case's.
std::string joined_head(const Head& head, std::vector<Item> inherited) {
    std::string text;
    for (const Item& own : head.items)
        std::erase_if(inherited, [&own](const Item& item) {
            return item.directive == own.directive && item.key == own.key;
        });
    std::string_view lines = head.text;
    while (!lines.empty())
        if (const std::string_view line = take_field(lines, '\n'); line.starts_with("#"))
            text.append(line).append("\n");
    std::vector<Item> items = std::move(inherited);
    items.insert(items.end(), head.items.begin(), head.items.end());
    std::stable_partition(items.begin(), items.end(),
                          [](const Item& item) { return item.directive == "command"; });
    for (const Item& item : items) text += item.text;
    return text + "expect\n";
}

using FileOrError = std::variant<CaseFile, CaseError>;

FileOrError whole_case(const std::string& path, const std::string& text) {
    auto parsed = parse_case(text);
    if (const auto* error = std::get_if<CaseError>(&parsed))
        return CaseError{path + ": " + error->message};
    return CaseFile{.stated = std::move(std::get<Case>(parsed)),
                    .whole = text,
                    .base = {},
                    .wrong_changes = {}};
}

// `text` is the content of the file at `path`, and `head` its head.
FileOrError joined_case(const std::string& path, const Head& head, std::string_view text) {
    const auto wrong = [&path](const std::string& what) { return CaseError{path + ": " + what}; };
    const auto wrong_base = [&](const std::string& what) {
        return wrong(format("line %d: %s", head.like_line, what.c_str()));
    };
    const std::string base_path = std::filesystem::path(path).parent_path() / head.like;
    const std::optional<std::string> base_text = read_text(base_path);
    if (!base_text) return wrong_base(base_path + ": " + strerror(errno));
    const Head base_head = read_head(*base_text);
    if (base_head.like_line != 0)
        return wrong_base(head.like +
                          " is itself like another case; only a whole case can be a base");
    const FileOrError base = whole_case(base_path, *base_text);
    if (const auto* error = std::get_if<CaseError>(&base)) return wrong_base(error->message);

    const auto own = parse_case(own_lines(head));
    if (const auto* error = std::get_if<CaseError>(&own)) return wrong(error->message);
    std::vector<Item> inherited = base_head.items;
    if (const std::string none = remove_inherited(inherited, head); !none.empty())
        return wrong(none);
    FileOrError joined = whole_case(path, joined_head(head, std::move(inherited)));
    auto* file = std::get_if<CaseFile>(&joined);
    if (!file) return joined;

    file->whole = std::exchange(file->stated.head, head.text);
    file->base = std::get<CaseFile>(base).stated.expected;
    // The line "expect" may be the last one, without a newline.
    const std::string_view changes = text.substr(std::min(head.text.size(), text.size()));
    const auto expected = apply_changes(*file->base, changes, head.lines + 1);
    if (const auto* error = std::get_if<CaseError>(&expected))
        file->wrong_changes = path + ": " + error->message;
    else
        file->stated.expected = std::get<std::string>(expected);
    file->whole += file->stated.expected;
    return joined;
}

}  // namespace

FileOrError read_case_file(const std::string& path) {
    const std::optional<std::string> text = read_text(path);
    if (!text) return CaseError{path + ": " + strerror(errno)};
    const Head head = read_head(*text);
    if (!head.wrong.empty()) return CaseError{path + ": " + head.wrong};
    return head.like_line != 0 ? joined_case(path, head, *text) : whole_case(path, *text);
}

std::variant<Case, CaseError> load_case(const std::string& path) {
    FileOrError read = read_case_file(path);
    if (auto* error = std::get_if<CaseError>(&read)) return std::move(*error);
    auto& file = std::get<CaseFile>(read);
    if (!file.wrong_changes.empty()) return CaseError{std::move(file.wrong_changes)};
    return std::move(file.stated);
}

std::string expectation(const CaseFile& file, const std::string& transcript) {
    return file.base ? changes_between(*file.base, transcript) : transcript;
}

std::vector<std::string> case_paths(const std::string& path) {
    if (!std::filesystem::is_directory(path)) return {path};
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
        if (entry.path().extension() == ".case") paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    return paths;
}
