// Features that are on, and the settings that they need.
#include <algorithm>

#include "check/check_parts.h"

namespace nvram {

bool holds(const Check& check, const Condition& condition) {
    const std::string_view value = text_of(check, condition.key);
    const std::string_view characters = condition.text;
    const bool begins = !value.empty() && characters.find(value[0]) != std::string_view::npos;
    switch (condition.test) {
        case Test::Always:
            break;
        case Test::Is: {
            const std::vector<std::string_view> words = words_of(condition.text);
            return std::find(words.begin(), words.end(), value) != words.end();
        }
        case Test::Begins:
            return begins;
        case Test::BeginsNot:
            return !begins;
    }
    return true;
}

namespace {

// A number of 0 is missing, as an address of 0.0.0.0 is.
bool is_nothing(const Check& check, const KnownSetting& known) {
    const bool any_address = known.form == Form::Quad;
    if (any_address ? text_of(check, known.key).empty() : is_missing(check, known.key)) return true;
    return known.form == Form::Number && text_of(check, known.key) == "0";
}

void check_need(Check& check, const KnownSetting& known, const Need& need) {
    if (!is_nothing(check, known) || !holds(check, need.when) || !holds(check, need.also)) return;
    // Nothing that an access point starts needs it.
    if (is_on(check, "ap_mode") && is_of_firewall(known)) return;
    const std::string_view value = text_of(check, known.key);
    std::string reasons = assignment(need.when.key, text_of(check, need.when.key));
    if (need.also.test != Test::Always)
        reasons += " with " + assignment(need.also.key, text_of(check, need.also.key));
    add(check, need.level, known.key,
        {.problem = "is " + (value.empty() ? "empty" : std::string(value)) + ", but " + reasons +
                    " needs it",
         .effect = need.effect != nullptr ? need.effect : known.when_empty,
         .fix = assignment(known.key, need.fix != nullptr ? need.fix : known.example)});
}

}  // namespace

void check_needs(Check& check) {
    for (const SettingGroup& group : setting_groups())
        for (const KnownSetting& known : group.settings)
            if (known.needed != nullptr) check_need(check, known, *known.needed);
}

}  // namespace nvram
