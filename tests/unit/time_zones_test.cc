// The tables of zones and of daylight saving, compared with the web pages and the calendar.

#include <gtest/gtest.h>

#include "sched/time_zones.h"

namespace {

// The choices in this order; web pages use the texts unchanged.
constexpr const char* labels[] = {
    "(GMT-12:00) International Date Line West",
    "(GMT-11:00) Midway Island, Samoa",
    "(GMT-10:00) Hawaii",
    "(GMT-09:00) Alaska",
    "(GMT-08:00) Pacific Time (USA &amp; Canada)",
    "(GMT-07:00) Arizona",
    "(GMT-07:00) Chihuahua, La Paz, Mazatlan",
    "(GMT-07:00) Mountain Time (USA &amp; Canada)",
    "(GMT-06:00) Central America",
    "(GMT-06:00) Central Time (USA &amp; Canada)",
    "(GMT-06:00) Guadalajara, Mexico City, Monterrey",
    "(GMT-06:00) Saskatchewan",
    "(GMT-05:00) Bogota, Lima, Quito",
    "(GMT-05:00) Eastern Time (USA &amp; Canada)",
    "(GMT-05:00) Indiana (East)",
    "(GMT-04:00) Atlantic Time (Canada)",
    "(GMT-04:00) Caracas, La Paz",
    "(GMT-04:00) Santiago",
    "(GMT-03:30) Newfoundland",
    "(GMT-03:00) Brasilia",
    "(GMT-03:00) Buenos Aires, Georgetown",
    "(GMT-03:00) Greenland",
    "(GMT-02:00) Mid-Atlantic",
    "(GMT-01:00) Azores",
    "(GMT-01:00) Cape Verde ls.",
    "(GMT) Casablanca, Monrovia",
    "(GMT) Greenwich Mean Time: Dublin, Edinburgh, Lisbon, London",
    "(GMT+01:00) Amsterdam, Berlin, Bern, Rome, Stockholm, Vienna",
    "(GMT+01:00) Belgrade, Bratislava, Budapest, Ljubljana, Prague",
    "(GMT+01:00) Brussels, Copenhagen, Madrid, Paris",
    "(GMT+01:00) Sarajevo, Skopje, Warsaw, Zagreb",
    "(GMT+01:00) West Central Africa",
    "(GMT+02:00) Athens, Istanbul, Minsk",
    "(GMT+02:00) Bucharest",
    "(GMT+02:00) Cairo",
    "(GMT+02:00) Harare, Pretoria",
    "(GMT+02:00) Helsinki, Kyiv, Riga, Sofia, Tallinn, Vilnius",
    "(GMT+02:00) Jerusalem",
    "(GMT+03:00) Baghdad",
    "(GMT+03:00) Kuwait, Riyadh",
    "(GMT+03:00) Moscow, St. Petersburg, Volgograd",
    "(GMT+03:00) Nairobi",
    "(GMT+03:30) Tehran",
    "(GMT+04:00) Abu Dhabi, Muscat",
    "(GMT+04:00) Baku, Tbilisi, Yerevan",
    "(GMT+04:30) Kabul",
    "(GMT+05:00) Ekaterinburg",
    "(GMT+05:00) Islamabad, Karachi, Tashkent",
    "(GMT+05:30) Chennai, Kolkata, Mumbai, New Delhi",
    "(GMT+05:30) Sri Jayawardenepura",
    "(GMT+05:45) Kathmandu",
    "(GMT+06:00) Almaty, Novosibirsk",
    "(GMT+06:00) Astana, Dhaka",
    "(GMT+06:30) Rangoon",
    "(GMT+07:00) Bangkok, Hanoi, Jakarta",
    "(GMT+07:00) Krasnoyarsk",
    "(GMT+08:00) Beijing, Chongqing, Hong Kong, Urumqi",
    "(GMT+08:00) Irkutsk, Ulaan Bataar",
    "(GMT+08:00) Kuala Lumpur, Singapore",
    "(GMT+08:00) Perth",
    "(GMT+08:00) Taipei",
    "(GMT+09:00) Osaka, Sapporo, Tokyo",
    "(GMT+09:00) Seoul",
    "(GMT+09:00) Yakutsk",
    "(GMT+09:30) Adelaide",
    "(GMT+09:30) Darwin",
    "(GMT+10:00) Brisbane",
    "(GMT+10:00) Canberra, Melbourne, Sydney",
    "(GMT+10:00) Guam, Port Moresby",
    "(GMT+10:00) Hobart",
    "(GMT+10:00) Vladivostok",
    "(GMT+11:00) Magadan, Solomon Is., New Caledonia",
    "(GMT+12:00) Auckland, Wellington",
    "(GMT+12:00) Fiji, Kamchatka, Marshall Is.",
    "(GMT+13:00) Nuku'alofa",
};

// The week of the month (4: the last), the weekday (1: Monday), the month, the hour and the minute.
struct Edge {
    int week;
    int weekday;
    int month;
    int hour;
    int minute;
};
struct Summer {
    int rule;
    Edge start;
    Edge end;
};
constexpr Summer summers[] = {
    {0, {4, 7, 10, 2, 0}, {4, 7, 3, 3, 0}},      {1, {4, 7, 10, 2, 0}, {4, 7, 3, 3, 0}},
    {2, {4, 7, 3, 2, 0}, {4, 7, 10, 3, 0}},      {3, {1, 7, 11, 0, 0}, {4, 7, 2, 0, 0}},
    {4, {4, 7, 3, 3, 0}, {4, 7, 10, 4, 0}},      {5, {4, 4, 4, 23, 59}, {4, 4, 9, 23, 59}},
    {6, {1, 7, 4, 3, 0}, {4, 7, 10, 4, 0}},      {7, {1, 5, 4, 2, 0}, {1, 5, 9, 2, 0}},
    {8, {4, 7, 3, 2, 0}, {4, 7, 9, 2, 0}},       {9, {1, 7, 4, 2, 0}, {4, 7, 10, 2, 0}},
    {10, {1, 7, 10, 2, 0}, {3, 7, 3, 3, 0}},     {11, {2, 7, 3, 12, 1}, {1, 7, 11, 12, 1}},
    {12, {2, 6, 10, 23, 59}, {2, 6, 3, 23, 59}}, {13, {1, 7, 10, 2, 0}, {4, 7, 3, 3, 0}},
    {14, {2, 7, 3, 2, 0}, {1, 7, 11, 2, 0}},     {15, {4, 7, 3, 2, 0}, {4, 7, 10, 3, 0}},
    {16, {4, 7, 3, 1, 0}, {4, 7, 10, 2, 0}},
};

void expect_edge(const int32_t* columns, const Edge& edge, int rule) {
    EXPECT_EQ(columns[edge_week], edge.week) << rule;
    EXPECT_EQ(columns[edge_weekday], edge.weekday) << rule;
    EXPECT_EQ(columns[edge_month], edge.month) << rule;
    EXPECT_EQ(columns[edge_hour], edge.hour) << rule;
    EXPECT_EQ(columns[edge_minute], edge.minute) << rule;
}

TEST(TimeZones, LabelsInTheOrderOfThePages) {
    ASSERT_EQ(std::size(labels), time_zone_count);
    for (size_t i = 0; i < time_zone_count; i++) EXPECT_STREQ(aTimeZoneTable[i].label, labels[i]);
}

TEST(DaylightSaving, EveryRuleHasItsEdges) {
    ASSERT_EQ(std::size(summers), dst_rule_count);
    for (size_t i = 0; i < dst_rule_count; i++) {
        EXPECT_EQ(aDstTable[i][dst_rule], summers[i].rule);
        expect_edge(aDstTable[i] + dst_start, summers[i].start, summers[i].rule);
        expect_edge(aDstTable[i] + dst_end, summers[i].end, summers[i].rule);
    }
}

}  // namespace
