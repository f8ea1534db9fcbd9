// Values to try, and the condition that tells them apart.

#include "plan/trace/sink_condition.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "core/text.h"
#include "settings/records.h"

std::string token_of(size_t number, nvram::Form form) {
    const std::string token = {'Q', static_cast<char>('a' + number / 26 % 26),
                               static_cast<char>('a' + number % 26)};
    const bool address = form == nvram::Form::Address || form == nvram::Form::Quad;
    return address ? token + ".1.2.3" : token;
}

std::vector<std::string> values_to_try(nvram::Form form, const char* choices,
                                       const std::string& own) {
    std::vector<std::string> values = {"", own};
    const auto add = [&](const std::string& text) { values.push_back(text); };
    if (form == nvram::Form::Flag || form == nvram::Form::Choice || form == nvram::Form::Number) {
        for (const char* text : {"0", "1", "x"}) add(text);
    } else
        add("Qzz");
    if (form == nvram::Form::Flag)
        for (const char* text : {"0x", "1x"}) add(text);
    if (form == nvram::Form::Address || form == nvram::Form::Quad)
        for (const char* text : {"0.0.0.0", "10.20.30.40"}) add(text);
    if (form == nvram::Form::Mac) add(other_mac);
    const std::vector<std::string_view> words = nvram::words_of(choices);
    for (size_t i = 0; i < std::min(words.size(), most_words); i++) {
        add(std::string(words[i]));
        add(std::string(words[i]) + "x");
    }
    return values;
}

static bool fits(const Samples& samples, const std::function<bool(const std::string&)>& holds) {
    return std::ranges::all_of(samples, [&](const auto& s) { return holds(s.first) == s.second; });
}

std::optional<std::string> condition_of(const Samples& samples, nvram::Form form) {
    const bool number = form == nvram::Form::Number;
    const bool words_count = number || form == nvram::Form::Choice || form == nvram::Form::Flag;
    constexpr const char* digits = "0123456789";
    if (fits(samples, [](const std::string&) { return true; })) return "";
    if (fits(samples, [](const std::string& v) { return !v.empty(); })) return "+";
    if (fits(samples, [](const std::string& v) { return v.empty(); })) return "-";
    if (number) {
        if (fits(samples, [](const std::string& v) { return leading_int(v) != 0; })) return "#";
        if (fits(samples, [&](const std::string& v) {
                return contains(digits, v.substr(0, 1)) && !v.empty();
            }))
            return std::string("^") + digits;
    }
    if (!words_count) return std::nullopt;
    std::string with;
    std::string without;
    std::string words;
    for (const auto& [value, kept] : samples) {
        if (kept) words += (words.empty() ? "" : ",") + value;
        if (value.empty() || contains(kept ? with : without, {value.data(), 1})) continue;
        (kept ? with : without) += value[0];
    }
    const auto begins = [](const std::string& set, const std::string& v) {
        return !v.empty() && contains(set, {v.data(), 1});
    };
    if (fits(samples, [&](const std::string& v) { return begins(with, v); })) return "^" + with;
    if (fits(samples, [&](const std::string& v) { return !begins(without, v); }))
        return "!" + without;
    const auto empty = samples.find("");
    if (words.empty() || (empty != samples.end() && empty->second)) return std::nullopt;
    return "=" + words;
}
