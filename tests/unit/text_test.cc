// Composed text, numbers, lists.

#include "core/text.h"
#include "core/unused.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <stdarg.h>
#include <stdlib.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

namespace {

TEST(Text, FormatIsAsLongAsTheTextIs) {
    const std::string value(10'000, 'x');
    EXPECT_EQ(format("%s-%d", value.c_str(), 7), value + "-7");
    EXPECT_EQ(format("%s", ""), "");
}

__attribute__((format(printf, 2, 3))) size_t compose_into(std::span<char> line, const char* text,
                                                          ...) {
    va_list arguments;
    va_start(arguments, text);
    const size_t length = compose(line.data(), line.size(), text, arguments);
    va_end(arguments);
    return length;
}

TEST(Text, ComposeHandlesUsualConversionsAndLeavesOthersToTheLibrary) {
    EXPECT_EQ(format("%s", "text"), "text");
    EXPECT_EQ(format("-A %s:%d %d%%", "chain", INT_MIN, INT_MAX),
              "-A chain:-2147483648 2147483647%");
    EXPECT_EQ(format("%s%s", "", ""), "");
    const char* volatile absent = nullptr;
    EXPECT_EQ(format("<%s>", absent), "<(null)>");
    EXPECT_EQ(format("%d", 0), "0");
    EXPECT_EQ(format("%u,%u,%u", 0U, 2147483648U, UINT_MAX), "0,2147483648,4294967295");
    // The first conversion is one of ours, the second is not: the library formats all of it.
    EXPECT_EQ(format("%s %lld", "rate", 5'000'000'000LL), "rate 5000000000");
    EXPECT_EQ(format("%d %%%u %02x %.1s", 7, 4'000'000'000U, 10U, "word"), "7 %4000000000 0a w");
}

TEST(Text, ComposeCutsAndReturnsTheFullLength) {
    char line[8];
    EXPECT_EQ(compose_into(line, "%s-%d", "ab", 12), 5U);
    EXPECT_STREQ(line, "ab-12");
    EXPECT_EQ(compose_into(line, "%s-%d", "abcde", 1), 7U);
    EXPECT_STREQ(line, "abcde-1");
    EXPECT_EQ(compose_into(line, "%s-%d.%s", "abcde", 12, "rest"), 13U);
    EXPECT_STREQ(line, "abcde-1");
    EXPECT_EQ(compose_into(line, "%s-%02x.%s", "abcde", 18U, "rest"), 13U);
    EXPECT_STREQ(line, "abcde-1");
    EXPECT_EQ(compose_into(std::span(line).first(1), "%s", "abc"), 3U);
    EXPECT_STREQ(line, "");
}

TEST(Text, AsItsOwnFormatOnlyDoubledPercentChanges) {
    struct Row {
        const char* text;
        const char* result;
    };
    for (const Row& row : {
             Row{"", ""},
             Row{"plain", "plain"},
             Row{"100%%", "100%"},
             Row{"100%", "100%"},
             Row{"%s%d%n", "%s%d%n"},
             Row{"%%%", "%%"},
             Row{"%%%%", "%%"},
             Row{"%%s", "%s"},
             Row{"a%%b%c", "a%b%c"},
         })
        EXPECT_EQ(percent_collapsed(row.text), row.result) << row.text;
}

TEST(Text, LeadingIntReadsAsAtoiAndStaysInRange) {
    struct Row {
        const char* text;
        int number;
    };
    for (const Row& row : {
             Row{"", 0},
             Row{"abc", 0},
             Row{"5", 5},
             Row{" \t12x", 12},
             Row{"-3", -3},
             Row{"+4", 4},
             Row{"007", 7},
             Row{"2147483647", INT_MAX},
             Row{"2147483648", INT_MAX},
             Row{"-2147483649", INT_MIN},
             Row{"99999999999999999999999", INT_MAX},
             Row{"-99999999999999999999999", INT_MIN},
             Row{"0x10", 0},
             Row{"- 5", 0},
         })
        EXPECT_EQ(leading_int(row.text), row.number) << row.text;
}

// The C library's result, clamped to int.
void expect_as_strtoll(const std::string& text) {
    char* end = nullptr;
    const long long read = strtoll(text.c_str(), &end, 10);
    const int expected = static_cast<int>(std::clamp<long long>(read, INT_MIN, INT_MAX));
    ASSERT_EQ(leading_int(text), expected) << text;

    std::string_view rest = text;
    int number = 77;
    ASSERT_EQ(scan_int(rest, '\0', number), end != text.c_str()) << text;
    ASSERT_EQ(number, end != text.c_str() ? expected : 77) << text;
    ASSERT_EQ(rest.data(), end) << text;
}

TEST(Text, NumbersReadAsTheCLibraryReadsThem) {
    constexpr std::string_view characters = " \t\v\r-+019:x";
    std::vector<std::string> texts = {""};
    for (size_t i = 0; i < texts.size(); i++) {
        expect_as_strtoll(texts[i]);
        if (texts[i].size() == 4) continue;
        for (const char c : characters) texts.push_back(texts[i] + c);
    }
    for (const long long limit : {INT_MAX * 1LL, INT_MIN * 1LL, UINT_MAX * 1LL, UINT_MAX * 2LL})
        for (long long number = limit - 12; number <= limit + 12; number++)
            for (const char* before : {"", " +", "000"})
                expect_as_strtoll(before + std::to_string(number));
    for (size_t digits = 1; digits < 40; digits++)
        for (const char* sign : {"", "-"}) expect_as_strtoll(sign + std::string(digits, '9') + ";");
}

TEST(Text, ScanNumberDistinguishesNoNumberFromZero) {
    EXPECT_EQ(scan_number("12 34"), 12);
    EXPECT_EQ(scan_number("\n -7"), -7);
    EXPECT_EQ(scan_number("0"), 0);
    EXPECT_EQ(scan_number(""), std::nullopt);
    EXPECT_EQ(scan_number("/proc/uptime"), std::nullopt);
    EXPECT_EQ(scan_number("-"), std::nullopt);
    EXPECT_EQ(scan_number("-99999999999999999999999"), INT64_MIN);
    EXPECT_EQ(scan_number("99999999999999999999999"), INT64_MAX);
}

TEST(Text, NumbersEndWithTheirText) {
    constexpr std::string_view whole = "+12:34";
    EXPECT_EQ(leading_int(whole.substr(0, 2)), 1);
    EXPECT_EQ(leading_int(whole.substr(0, 1)), 0);
    EXPECT_EQ(leading_int({}), 0);
    std::string_view rest = whole;
    int number = 0;
    EXPECT_TRUE(scan_int(rest, ':', number));
    EXPECT_EQ(number, 12);
    EXPECT_EQ(rest, "34");
    rest = whole.substr(0, 3);
    EXPECT_FALSE(scan_int(rest, ':', number)) << "what follows is not part of it";
    rest = whole;
    EXPECT_FALSE(scan_int(rest, '-', number));
}

TEST(Text, ScanIntLeavesTheNumberWhenNothingReads) {
    std::string_view text = " x";
    int number = 7;
    EXPECT_FALSE(scan_int(text, ':', number));
    EXPECT_EQ(number, 7);
}

TEST(Text, StrccpyTakesTheFirstItem) {
    std::string dest = "old";
    strccpy(dest,
            "a\x01"
            "b",
            '\x01');
    EXPECT_EQ(dest, "a");
    strccpy(dest,
            "\x01"
            "b",
            '\x01');
    EXPECT_EQ(dest, "");
    dest = "old";
    strccpy(dest, nullptr, '\x01');
    EXPECT_EQ(dest, "");
    dest = "old";
    strccpy(dest, "", ':');
    EXPECT_EQ(dest, "");
    strccpy(dest, "whole", ':');
    EXPECT_EQ(dest, "whole");
    strccpy(dest, "1.2 3:4", ':');
    EXPECT_EQ(dest, "1.2 3");
}

TEST(Text, TakeFieldWalksAndEnds) {
    std::string_view rest = "a;;b";
    EXPECT_EQ(take_field(rest, ';'), "a");
    EXPECT_EQ(take_field(rest, ';'), "");
    EXPECT_EQ(take_field(rest, ';'), "b");
    EXPECT_EQ(rest, "");
    EXPECT_EQ(take_field(rest, ';'), "");
}

TEST(Text, CutAndContains) {
    EXPECT_EQ(cut("abcdef", 3), "abc");
    EXPECT_EQ(cut("ab", 3), "ab");
    EXPECT_TRUE(contains("wisp_client", "wisp"));
    EXPECT_FALSE(contains("wis", "wisp"));
}

}  // namespace
