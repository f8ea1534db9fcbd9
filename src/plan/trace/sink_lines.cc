// The texts of sinks' lines, compared word by word.

#include "plan/trace/sink_lines.h"

#include <algorithm>

#include "settings/sinks.h"

using nvram::sink_other;
using nvram::sink_text;
using nvram::sink_unknown;

static bool is_name_character(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.';
}

std::vector<std::string_view> words_of_line(std::string_view text) {
    std::vector<std::string_view> words;
    while (true) {
        const size_t end = text.find(' ');
        words.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return words;
        text.remove_prefix(end + 1);
    }
}

static std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (size_t i = 0; i < words.size(); i++) text += (i > 0 ? " " : "") + words[i];
    return text;
}

// Whether a word stands for the other, \x03 standing for anything.
static bool stands_for(std::string_view word, std::string_view other) {
    const size_t place = word.find(sink_unknown);
    if (place == std::string_view::npos) return word == other;
    const std::string_view begin = word.substr(0, place);
    const std::string_view end = word.substr(word.rfind(sink_unknown) + 1);
    return other.size() >= begin.size() + end.size() && other.starts_with(begin) &&
           other.ends_with(end);
}

// What both words begin and end with, never half a number or name.
static std::string merged_word(std::string_view word, std::string_view other) {
    const size_t shorter = std::min(word.size(), other.size());
    size_t begin = 0;
    while (begin < shorter && word[begin] == other[begin]) begin++;
    size_t end = 0;
    while (end < shorter - begin && word[word.size() - 1 - end] == other[other.size() - 1 - end])
        end++;
    while (begin > 0 && is_name_character(word[begin - 1])) begin--;
    while (end > 0 && is_name_character(word[word.size() - end])) end--;
    return std::string(word.substr(0, begin)) + sink_unknown +
           std::string(word.substr(word.size() - end));
}

static std::string generalised_part(std::string_view part, std::string_view other) {
    const std::vector<std::string_view> words = words_of_line(part);
    const std::vector<std::string_view> others = words_of_line(other);
    std::vector<std::string> result;
    if (words.size() == others.size()) {
        for (size_t i = 0; i < words.size(); i++)
            result.push_back(stands_for(words[i], others[i]) ? std::string(words[i])
                                                             : merged_word(words[i], others[i]));
        return joined(result);
    }
    const size_t shorter = std::min(words.size(), others.size());
    size_t begin = 0;
    while (begin < shorter && stands_for(words[begin], others[begin])) begin++;
    size_t end = 0;
    while (end < shorter - begin &&
           stands_for(words[words.size() - 1 - end], others[others.size() - 1 - end]))
        end++;
    for (size_t i = 0; i < begin; i++) result.emplace_back(words[i]);
    const auto middle = [&](const std::vector<std::string_view>& all) {
        return joined({all.begin() + static_cast<long>(begin), all.end() - static_cast<long>(end)});
    };
    result.push_back(merged_word(middle(words), middle(others)));
    for (size_t i = words.size() - end; i < words.size(); i++) result.emplace_back(words[i]);
    return joined(result);
}

std::string generalised_words(std::string_view line, std::string_view other) {
    const std::vector<std::string_view> words = words_of_line(line);
    const std::vector<std::string_view> others = words_of_line(other);
    if (words.size() != others.size()) return std::string(line);
    std::vector<std::string> result;
    for (size_t i = 0; i < words.size(); i++) {
        const size_t text = words[i].starts_with(sink_text) && others[i].starts_with(sink_text);
        std::string rest(words[i].substr(text));
        if (words[i] != others[i]) std::ranges::replace(rest, sink_text, sink_unknown);
        const std::string_view rest_of_other = others[i].substr(text);
        result.push_back(std::string(text, sink_text) + (stands_for(rest, rest_of_other)
                                                             ? rest
                                                             : merged_word(rest, rest_of_other)));
    }
    return joined(result);
}

bool is_line_of(std::string_view sink_line, std::string_view text, std::string_view line) {
    while (!sink_line.empty()) {
        const char kind = sink_line[0];
        sink_line.remove_prefix(1);
        if (kind == sink_other || kind == sink_unknown) {
            if (kind == sink_other) sink_line.remove_prefix(sink_line.find(sink_other) + 1);
            for (size_t at = 0; at <= line.size(); at++)
                if (is_line_of(sink_line, text, line.substr(at))) return true;
            return false;
        }
        const std::string_view next = kind == sink_text ? text : std::string_view(&kind, 1);
        if (!line.starts_with(next)) return false;
        line.remove_prefix(next.size());
    }
    return line.empty();
}

size_t likeness(std::string_view one, std::string_view other) {
    const size_t shorter = std::min(one.size(), other.size());
    size_t begin = 0;
    while (begin < shorter && one[begin] == other[begin]) begin++;
    size_t end = 0;
    while (end < shorter - begin && one[one.size() - 1 - end] == other[other.size() - 1 - end])
        end++;
    return begin + end;
}

std::string generalised(std::string_view line, std::string_view other) {
    const size_t place = line.find(sink_text);
    const size_t place_of_other = other.find(sink_text);
    if (place == std::string_view::npos || place_of_other == std::string_view::npos)
        return std::string(line);
    const size_t end = line.rfind(sink_text) + 1;
    const size_t end_of_other = other.rfind(sink_text) + 1;
    return generalised_part(line.substr(0, place), other.substr(0, place_of_other)) +
           std::string(line.substr(place, end - place)) +
           generalised_part(line.substr(end), other.substr(end_of_other));
}

// The program, and the options and chains in front of the text.
static std::vector<std::string_view> options_of(std::string_view line) {
    constexpr const char* capitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ_";
    std::vector<std::string_view> options;
    for (const std::string_view word : words_of_line(line.substr(0, line.find(sink_text)))) {
        const bool chain = word.size() > 1 && word[0] != 'Q' &&
                           word.find_first_not_of(capitals) == std::string_view::npos;
        const bool option =
            word.starts_with('-') && word.find_first_of("0123456789.") == std::string_view::npos;
        if (options.empty() || chain || option) options.push_back(word);
    }
    return options;
}

bool same_options(std::string_view one, std::string_view other) {
    return options_of(one) == options_of(other);
}

bool same_last_option(std::string_view one, std::string_view other) {
    const std::vector<std::string_view> options = options_of(one);
    const std::vector<std::string_view> others = options_of(other);
    if (options.empty() || others.empty()) return options.empty() == others.empty();
    return options.front() == others.front() && options.back() == others.back();
}

static std::string_view name_of(std::string_view line) {
    const size_t end = line.find('=');
    return end == std::string_view::npos ? std::string_view() : line.substr(0, end);
}

bool same_name(std::string_view one, std::string_view other) {
    return name_of(one) == name_of(other);
}
