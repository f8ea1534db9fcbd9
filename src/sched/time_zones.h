// The zones that the web pages offer, and the daylight-saving rules that they follow.
#ifndef RC_SCHED_TIME_ZONES_H
#define RC_SCHED_TIME_ZONES_H

#include <stddef.h>
#include <stdint.h>

struct TimeZone {
    const char* label;
    const char* key;  // the value of "fw_time_zone"
    int32_t rule;
};

// A zone without daylight saving.
constexpr int32_t no_dst = 17;

constexpr size_t time_zone_count = 75;
extern const TimeZone aTimeZoneTable[time_zone_count];

constexpr size_t dst_rule_count = 17;
// Columns of a rule; the columns of the end follow those of the start.
enum DstColumn { dst_rule, dst_start, dst_end = 6 };
enum DstEdgeColumn { edge_week, edge_weekday, edge_month, edge_hour, edge_minute };
extern const int32_t aDstTable[dst_rule_count][11];

#endif
