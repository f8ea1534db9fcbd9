// Values for settings, drawn from what the table of settings says of them.
#ifndef RC_TESTS_VALUES_H
#define RC_TESTS_VALUES_H

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "plan/router/settings.h"
#include "settings/table.h"

using Random = std::minstd_rand;

// A number from 0 up to, not including, the limit, which is above 0.
size_t below(Random& random, size_t limit);
// True once in so many times.
bool one_in(Random& random, size_t times);

template <class Items>
const auto& one_of(Random& random, const Items& items) {
    return items[below(random, std::size(items))];
}

// All rows of the table, in its order.
const std::vector<const nvram::KnownSetting*>& all_settings();

// A value of the setting's form, at a limit of it, or just outside.
std::string drawn_value(const nvram::KnownSetting& known, Random& random);

// A dotted quad, mostly sound.
std::string drawn_address(Random& random);

// A decimal number, mostly one at which something overflows or ends.
std::string drawn_number(Random& random);

// The text changed as libFuzzer changes inputs, at most that long; the second without zero bytes.
std::string mutated_bytes(std::string_view text, size_t limit);
std::string mutated_text(const std::string& text);

// The text several times over, up to what is longer than any line of rc.
std::string repeated(const std::string& text, Random& random);

// Changes, adds or removes one setting.
void mutate_setting(Settings& settings, const std::string& key, Random& random);

#endif
