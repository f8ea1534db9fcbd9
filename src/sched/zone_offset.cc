// The minutes of an offset text.

#include "sched/zone_offset.h"

#include "core/text.h"

namespace {

// Minutes that the word after an offset adds. A number only distinguishes zones with the same
// offset.
struct ZoneSuffix {
    const char* word;
    int minutes;
};
constexpr ZoneSuffix zone_suffixes[] = {
    {"a", 30}, {"b", 45}, {"a1", 30}, {"a2", 30}, {"b1", 30}, {"b2", 30},
};

// The maximum length of an offset's hours and minutes.
constexpr size_t offset_limit = 7;

int suffix_minutes(std::string_view suffix) {
    for (const ZoneSuffix& known : zone_suffixes)
        if (suffix == known.word) return known.minutes;
    return 0;
}

}  // namespace

std::optional<int> offset_minutes(std::string_view offset) {
    std::string_view rest = offset;
    const char sign = rest.size() > 3 ? rest[3] : '\0';
    if (sign != '-' && sign != '+') return std::nullopt;
    rest.remove_prefix(4);
    int minutes = leading_int(cut(take_field(rest, ' '), offset_limit)) * 60;
    if (leading_int(rest) == 0) minutes += suffix_minutes(rest);
    return sign == '-' ? -minutes : minutes;
}
