// What an offset text stands for.
#ifndef RC_SCHED_ZONE_OFFSET_H
#define RC_SCHED_ZONE_OFFSET_H

#include <optional>
#include <string_view>

// The minutes that an offset text such as "GMT-3:30" or "GMT+5 b" stands for; its first three
// characters are not looked at. Nothing when no sign follows them.
std::optional<int> offset_minutes(std::string_view offset);

#endif
