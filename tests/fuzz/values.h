// Random values for settings, made from the table of settings.
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
// True with the probability 1 / times.
bool one_in(Random& random, size_t times);

template <class Items>
const auto& one_of(Random& random, const Items& items) {
    return items[below(random, std::size(items))];
}

// All rows of the table, in its order.
const std::vector<const nvram::KnownSetting*>& all_settings();

// A value of the setting's form, at a limit of it, or just outside.
std::string drawn_value(const nvram::KnownSetting& known, Random& random);

// A dotted quad, mostly valid.
std::string drawn_address(Random& random);

// A decimal number, mostly a limit of some range.
std::string drawn_number(Random& random);

// The text mutated by libFuzzer, with at most limit bytes; the second function's result has no zero
// bytes.
std::string mutated_bytes(std::string_view text, size_t limit);
std::string mutated_text(const std::string& text);

// The text repeated, up to more than the longest line of rc.
std::string repeated(const std::string& text, Random& random);

// Changes, adds or removes one setting.
void mutate_setting(Settings& settings, const std::string& key, Random& random);

#endif
