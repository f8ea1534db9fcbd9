// Random values for settings, made from the table of settings.

#include "values.h"

#include <ctype.h>

#include "libnvram/image.h"
#include "settings/forms.h"

// libFuzzer's own mutations, with its dictionary and its recorded comparisons.
extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t max_size);

namespace {

// Longer than any line that rc cuts, so that every cut is reached.
constexpr size_t longest_value = 5000;

constexpr const char* addresses[] = {
    "192.168.1.1", "192.168.1.100", "10.0.0.2", "0.0.0.0",   "255.255.255.255", "224.0.0.1",
    "127.0.0.1",   "1.1.1.1",       "1.2.3",    "300.1.1.1", "0x7f.1",          "192.168.1.",
};
constexpr const char* masks[] = {
    "255.255.255.0", "255.255.0.0", "255.0.0.0",   "255.255.255.255",
    "0.0.0.0",       "255.0.255.0", "255.255.255", "0.0.0.255",
};
constexpr const char* macs[] = {
    "00:11:22:33:44:55", "FF:FF:FF:FF:FF:FF", "001122334455", "00:11:22:33:44:5", "0:1:2:3:4:5",
};
constexpr const char* numbers[] = {
    "0",          "1",           "-1",         "+7",          " 7",          "007",
    "0x10",       "7x",          "127",        "128",         "255",         "256",
    "-128",       "-129",        "32767",      "65535",       "65536",       "2147483647",
    "2147483648", "-2147483648", "4294967295", "-2147483649", "4294967296",  "35791394",
    "35791395",   "24855",       "24856",      "1723",        "99999999999", "9223372036854775808",
};
constexpr const char* names[] = {
    "eth2.2", "ppp0", "br0", "ra0", "eth0123456789012", "server.example", "-", "a b",
};

// A text of one repeated character.
std::string filler(Random& random) {
    constexpr size_t sizes[] = {1, 16, 17, 29, 30, 63, 64, 127, 128, 511, 512, 1023, 1024, 4096};
    constexpr char letters[] = {'a', 'A',  '0', '%',    '"',    '\'', '`',   '$',
                                ';', '\\', ' ', '\x01', '\x02', '\n', '\xff'};
    return std::string(one_of(random, sizes), one_of(random, letters));
}

std::string number_near(std::int32_t low, std::int32_t high, Random& random) {
    if (one_in(random, 4)) return drawn_number(random);
    const long long bounds[] = {low, high, low - 1LL, high + 1LL};
    if (one_in(random, 2)) return std::to_string(one_of(random, bounds));
    const auto range = static_cast<size_t>(static_cast<long long>(high) - low + 1);
    return std::to_string(low + static_cast<long long>(below(random, range)));
}

std::string word_of(const char* choices, Random& random) {
    const std::vector<std::string_view> words = nvram::words_of(choices);
    if (words.empty()) return "";
    return std::string(one_of(random, words));
}

std::string of_form(const nvram::Limits& limits, Random& random) {
    if (*limits.choices && one_in(random, 2)) return word_of(limits.choices, random);
    switch (limits.form) {
        case nvram::Form::Flag:
            return one_in(random, 2) ? "1" : "0";
        case nvram::Form::Number:
            return number_near(limits.low, limits.high, random);
        case nvram::Form::Choice:
            return word_of(limits.choices, random);
        case nvram::Form::Address:
        case nvram::Form::Quad:
            return drawn_address(random);
        case nvram::Form::Netmask:
            return one_of(random, masks);
        case nvram::Form::Mac:
            return one_of(random, macs);
        case nvram::Form::Interface:
        case nvram::Form::Host:
            return one_of(random, names);
        case nvram::Form::Hex:
        case nvram::Form::Text:
        case nvram::Form::Record:
            return filler(random);
    }
    return "";
}

const nvram::Field* find_field(const nvram::Record& record, std::string_view name) {
    for (const nvram::Field& field : record.fields)
        if (name == field.name) return &field;
    return nullptr;
}

// The record's shape with its names replaced by values; sometimes without a separator.
std::string record_text(const nvram::Record& record, Random& random) {
    std::string text;
    for (std::string_view shape = record.shape; !shape.empty();) {
        size_t size = 0;
        while (size < shape.size() &&
               (isalnum(static_cast<unsigned char>(shape[size])) || shape[size] == '_'))
            size++;
        const nvram::Field* field = find_field(record, shape.substr(0, size));
        if (field && !one_in(random, 16)) text += of_form(nvram::limits_of(*field), random);
        if (size == 0 && !one_in(random, 64)) text += shape[0];
        shape.remove_prefix(std::max<size_t>(size, 1));
    }
    return text;
}

std::string list_text(const nvram::Record& record, Random& random) {
    constexpr size_t counts[] = {1, 1, 2, 3, 10, 15, 16, 20, 21, 101, 255};
    const size_t count = record.between ? one_of(random, counts) : 1;
    std::string text(record.ignored_prefix, 'x');
    for (size_t i = 0; i < count; i++) {
        if (i > 0) text += record.between;
        text += record_text(record, random);
    }
    return text;
}

}  // namespace

size_t below(Random& random, size_t limit) {
    return random() % limit;
}

bool one_in(Random& random, size_t times) {
    return below(random, times) == 0;
}

const std::vector<const nvram::KnownSetting*>& all_settings() {
    static const std::vector<const nvram::KnownSetting*> all = [] {
        std::vector<const nvram::KnownSetting*> rows;
        for (const nvram::SettingGroup& group : nvram::setting_groups())
            for (const nvram::KnownSetting& known : group.settings) rows.push_back(&known);
        return rows;
    }();
    return all;
}

std::string drawn_value(const nvram::KnownSetting& known, Random& random) {
    if (one_in(random, 8)) return known.factory;
    if (one_in(random, 16)) return "";
    if (one_in(random, 32)) return filler(random);
    return known.record ? list_text(*known.record, random)
                        : of_form(nvram::limits_of(known), random);
}

std::string drawn_address(Random& random) {
    return one_of(random, addresses);
}

std::string drawn_number(Random& random) {
    return one_of(random, numbers);
}

std::string mutated_bytes(std::string_view text, size_t limit) {
    std::string buffer(text.substr(0, limit));
    const size_t size = buffer.size();
    buffer.resize(limit);
    buffer.resize(LLVMFuzzerMutate(reinterpret_cast<uint8_t*>(buffer.data()), size, limit));
    return buffer;
}

std::string repeated(const std::string& text, Random& random) {
    if (text.empty()) return text;
    const size_t most = std::max<size_t>(longest_value / text.size(), 1);
    std::string longer;
    for (size_t i = one_in(random, 2) ? most : below(random, most) + 1; i > 0; i--) longer += text;
    return longer;
}

// No setting contains a zero byte.
std::string mutated_text(const std::string& text) {
    std::string changed = mutated_bytes(text, std::max<size_t>(2 * text.size(), 64));
    std::erase(changed, '\0');
    return changed;
}

void mutate_setting(Settings& settings, const std::string& key, Random& random) {
    if (!nvram::valid_key(key)) return;
    if (one_in(random, 32)) {
        settings.erase(key);
        return;
    }
    std::string& value = settings[key];
    const nvram::KnownSetting* known = nvram::find_known(key);
    if (known && (value.empty() || one_in(random, 3)))
        value = drawn_value(*known, random);
    else if (one_in(random, 24))
        value = repeated(value, random);
    else if (!settings.empty() && one_in(random, 24))
        value =
            std::next(settings.begin(), static_cast<long>(below(random, settings.size())))->second;
    else
        value = mutated_text(value);
}
