// The minutes of an offset text.
#ifndef RC_SCHED_ZONE_OFFSET_H
#define RC_SCHED_ZONE_OFFSET_H

#include <optional>
#include <string_view>

// The minutes of an offset text such as "GMT-3:30" or "GMT+5 b"; its first three characters are
// ignored. nullopt if no sign follows them.
std::optional<int> offset_minutes(std::string_view offset);

#endif
