// Composing text, numbers, lists.

#include "core/text.h"

#include <gtest/gtest.h>
#include <limits.h>

namespace {

TEST(Text, FormatIsAsLongAsTheTextIs) {
    const std::string value(10'000, 'x');
    EXPECT_EQ(format("%s-%d", value.c_str(), 7), value + "-7");
    EXPECT_EQ(format("%s", ""), "");
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

TEST(Text, ScanNumberKnowsNoNumberFromZero) {
    EXPECT_EQ(scan_number("12 34"), 12);
    EXPECT_EQ(scan_number("\n -7"), -7);
    EXPECT_EQ(scan_number("0"), 0);
    EXPECT_EQ(scan_number(""), std::nullopt);
    EXPECT_EQ(scan_number("/proc/uptime"), std::nullopt);
    EXPECT_EQ(scan_number("-"), std::nullopt);
    EXPECT_EQ(scan_number("99999999999999999999999"), std::nullopt);
}

TEST(Text, ScanIntLeavesTheNumberWhenNothingReads) {
    const char* text = " x";
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
