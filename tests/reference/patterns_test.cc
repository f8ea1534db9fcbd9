// The regular expressions of values, one row a value: which texts a form accepts.
#include "reference/patterns.h"

#include <gtest/gtest.h>

#include <regex>

#include "planted.h"
#include "reference/shape.h"

namespace {

using nvram::Form;

bool takes(const std::string& pattern, const std::string& value) {
    return std::regex_match(value, std::regex(pattern));
}

bool takes(const nvram::KnownSetting& setting, const std::string& value) {
    return takes(value_pattern(setting), value);
}

struct Range {
    std::int64_t low;
    std::int64_t high;
};

TEST(NumberPattern, MatchesExactlyTheNumbersOfItsRange) {
    constexpr Range ranges[] = {{0, 1},     {0, 5},        {0, 59},      {1, 12},    {5, 5},
                                {7, 300},   {1, 1000},     {68, 1500},   {95, 120},  {99, 101},
                                {100, 199}, {0, 65535},    {1024, 4095}, {155, 157}, {-3, 12},
                                {-120, -7}, {1000, 65535}, {-1, 0}};
    for (const Range& range : ranges) {
        const std::regex pattern(number_pattern(range.low, range.high));
        for (std::int64_t number = -1100; number <= 5000; number++)
            ASSERT_EQ(std::regex_match(std::to_string(number), pattern),
                      number >= range.low && number <= range.high)
                << number << " in " << range.low << " to " << range.high;
        for (const std::int64_t number : {range.high, range.high + 1, range.high * 10})
            EXPECT_EQ(std::regex_match(std::to_string(number), pattern),
                      number >= range.low && number <= range.high)
                << number << " in " << range.low << " to " << range.high;
    }
}

TEST(NumberPattern, AllowsLeadingZeros) {
    EXPECT_TRUE(takes(number_pattern(0, 59), "05"));
    EXPECT_TRUE(takes(number_pattern(0, 59), "00"));
    EXPECT_TRUE(takes(number_pattern(1, 300), "0300"));
    EXPECT_FALSE(takes(number_pattern(1, 300), "000"));
}

TEST(NumberPattern, RejectsLeadingZerosOfAPort) {
    EXPECT_TRUE(takes(number_pattern(1, 65535), "80"));
    EXPECT_FALSE(takes(number_pattern(1, 65535), "080"));
    EXPECT_TRUE(takes(number_pattern(0, 65535), "0"));
    EXPECT_FALSE(takes(number_pattern(0, 65535), "00"));
}

TEST(NumberPattern, WithoutARangeMatchesAnyNumber) {
    EXPECT_TRUE(takes(number_pattern(0, 0), "4000000000"));
    EXPECT_TRUE(takes(number_pattern(0, 0), "-1"));
    EXPECT_FALSE(takes(number_pattern(0, 0), ""));
}

TEST(NumberPattern, RejectsTextThatIsNotANumber) {
    for (const char* text : {"", " 1", "1 ", "+1", "1.0", "0x1", "one", "1e1"})
        EXPECT_FALSE(takes(number_pattern(0, 65535), text)) << text;
}

struct Row {
    const char* key;
    const char* value;
    bool legal;
};

void expect(std::span<const Row> rows) {
    for (const Row& row : rows)
        EXPECT_EQ(takes(planted::row(row.key), row.value), row.legal)
            << row.key << "=" << row.value;
}

TEST(ValuePattern, MatchesTheForm) {
    constexpr Row rows[] = {
        {"light", "1", true},
        {"light", "0", true},
        {"light", "on", false},
        {"colour", "red", true},
        {"colour", "light-blue", true},
        {"colour", "light", false},
        {"colour", "redlight-blue", false},
        {"address", "192.168.1.1", true},
        {"address", "0.0.0.0", true},
        {"address", "223.255.255.255", true},
        {"address", "0.0.0.0", true},
        {"address", "0.0.0.1", false},
        {"address", "126.0.0.1", true},
        {"address", "127.0.0.1", false},
        {"address", "128.0.0.1", true},
        {"address", "224.0.0.1", false},
        {"address", "255.255.255.255", false},
        {"address", "192.168.1.256", false},
        {"address", "192.168.1", false},
        {"address", "192.168.1.1.1", false},
        {"address", "192.168.01.1", false},
        {"address", "192x168x1x1", false},
        {"netmask", "255.255.255.0", true},
        {"netmask", "0.0.0.0", true},
        {"netmask", "255.255.255.255", true},
        {"netmask", "255.254.0.0", true},
        {"netmask", "128.0.0.0", true},
        {"netmask", "255.0.255.0", false},
        {"netmask", "255.255.255.1", false},
        {"netmask", "254.255.0.0", false},
        {"mac", "00:11:22:aa:BB:cc", true},
        {"mac", "00:11:22:aa:BB", false},
        {"mac", "00:11:22:aa:BB:cg", false},
        {"mac", "00-11-22-aa-bb-cc", false},
        {"port", "eth2.2", true},
        {"port", "ppp0", true},
        {"port", "abcdefghijklmno", true},
        {"port", "abcdefghijklmnop", false},
        {"port", "a b", false},
        {"port", "a/b", false},
        {"port", ".", false},
        {"port", "..", false},
        {"port", "...", true},
        {"server", "time.example.net", true},
        {"server", "router", true},
        {"server", "10.0.0.1", true},
        {"server", "3com.example", true},
        {"server", "10.0.0.256", false},
        {"server", "10.example", true},
        {"server", "10.0.0", false},
        {"server", "-a.example", false},
        {"server", "a-.example", false},
        {"server", "a..example", false},
        {"server", "a_b.example", false},
        {"server", "a b", false},
        {"port", "a:b", true},
        {"port", "a\tb", false},
        {"town", "New York", true},
        {"town", "New", false},
        {"wep", "0123456789", true},
        {"wep", "abcdefABCD", true},
        {"wep", "012345678", false},
        {"wep", "0123456789a", false},
        {"wep", "012345678x", false},
    };
    expect(rows);
}

TEST(ValuePattern, MatchesTheShape) {
    constexpr Row rows[] = {
        {"open", "1:8:30-17:0", true},
        {"open", "6:0:0-24:59", true},
        {"open", "1:08:05-17:00", true},
        {"open",
         "1:8:30-17:0\x01"
         "2:8:30-17:0",
         true},
        {"open", "1:8:30-17:0 2:8:30-17:0", false},
        {"open", "1:8:30-17:0\x01", true},
        {"open", "7:8:30-17:0", false},
        {"open", "1:24:0-24:0", false},
        {"open", "1:8:30:17:0", false},
        {"open", "1:8:30-17", false},
        {"open", "\x01", false},
        {"open", "1:8:30-17:0\x01\x01", false},
        {"guests", "....", true},
        {"guests", "...", false},
        {"guests", "....1=10.0.0.1", true},
        {"guests", "....1=0;0=any;1=1.2.3.4;1=any;", true},
        {"guests", "....1=some", false},
        {"guests", "1=any", false},
        {"doors", "front\x02tcp|80", true},
        {"doors", "\x02tcp|80", true},
        {"doors", "front\x02tcp|0", false},
        {"doors", "frontdoor\x02tcp|80", false},
        {"doors", "front\x02icmp|80", false},
        {"doors", "front tcp|80", false},
        {"doors", "a\x02tcp|1 b\x02udp|2", true},
        {"doors", "a\x02tcp|1 b\x02udp|2 c\x02udp|3", true},
        {"doors", "a\x02tcp|1 b\x02udp|2 c\x02udp|3 d\x02udp|4", false},
    };
    expect(rows);
}

TEST(Shape, IsSplitAtItsFieldNames) {
    const Shape shape = take_apart(planted::doors);
    ASSERT_EQ(shape.pieces.size(), 3U);
    EXPECT_EQ(shape.pieces[0].before, "");
    EXPECT_EQ(shape.pieces[1].before, "\x02");
    EXPECT_EQ(shape.pieces[2].before, "|");
    EXPECT_STREQ(shape.pieces[2].field->name, "port");
    EXPECT_EQ(shape.end, "");
}

TEST(Shape, MustNameItsFieldsInOrder) {
    const nvram::Record turned = {.shape = "port:protocol:name", .fields = planted::door_fields};
    EXPECT_THROW(take_apart(turned), std::invalid_argument);
}

TEST(Shape, MayHaveTextAfterTheLastField) {
    constexpr nvram::Field fields[] = {{.name = "a", .form = Form::Text, .may_be_empty = true}};
    const nvram::Record record = {.shape = "xx/a;", .fields = fields};
    EXPECT_EQ(take_apart(record).end, ";");
    const nvram::KnownSetting setting = {
        .key = "k", .form = Form::Record, .record = &record, .help = "h"};
    EXPECT_TRUE(takes(setting, "xx/any text;"));
    EXPECT_TRUE(takes(setting, "xx/;"));
    EXPECT_FALSE(takes(setting, "xx/any text"));
    EXPECT_FALSE(takes(setting, "xx/any;text;"));
}

}  // namespace
