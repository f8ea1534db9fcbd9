// Asterisks stand for any text, and only they.

#include "plan/inspect/hidden.h"

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string>;

TEST(Hidden, Fits) {
    struct Row {
        const char* expected;
        const char* found;
        bool fits;
    };
    const Row rows[] = {
        {"", "", true},
        {"a", "a", true},
        {"a", "b", false},
        {"a", "", false},
        {"", "********", true},
        {"secret", "********", true},
        {"admin:secret", "admin:********", true},
        {"other:secret", "admin:********", false},
        {"a secret b", "a ******** b", true},
        {"a secret c", "a ******** b", false},
        {"a x b y c", "a ******** b ******** c", true},
        {"a x d y c", "a ******** b ******** c", false},
        {"a b", "a ******** b", false},
        {"one two", "**********", false},
        // Each part is used once.
        {"ab", "ab********ab", false},
        {"abab", "ab********ab", true},
        {"aXbXc", "a********X********c", true},
        // Fewer asterisks are themselves.
        {"password *******", "password *******", true},
        {"password secret", "password *******", false},
    };
    for (const Row& row : rows)
        EXPECT_EQ(fits(row.expected, row.found), row.fits) << row.expected << " | " << row.found;
}

TEST(Hidden, LinesAreReplacedByThoseThatTheyMayBe) {
    const Lines expected = {"a", "user one", "pass x", "user two", "pass y", "z"};
    EXPECT_EQ(without_hidden(expected,
                             {"a", "user one", "pass ********", "user two", "pass ********", "z"}),
              expected);
    // A line that is missing, changed or added does not shift the others.
    EXPECT_EQ(without_hidden(expected, {"user one", "pass ********", "pass ********", "z"}),
              (Lines{"user one", "pass x", "pass y", "z"}));
    EXPECT_EQ(without_hidden(expected, {"a", "new", "pass ********"}),
              (Lines{"a", "new", "pass x"}));
    // Nothing there that it may be.
    EXPECT_EQ(without_hidden(expected, {"key ********"}), Lines{"key ********"});
    EXPECT_EQ(without_hidden({}, {"pass ********"}), Lines{"pass ********"});
    EXPECT_EQ(without_hidden(expected, {}), Lines{});
}

}  // namespace
