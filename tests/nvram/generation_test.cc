// A generation's file: its bytes, and that every damage is detected.
#include "libnvram/generation.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

namespace {

TEST(Generation, HasTheseBytes) {
    // The checksum is zlib's crc32 of the header up to there, followed by the image; of both, even
    // and odd lengths.
    EXPECT_EQ(nvram::encode({.number = 7, .image = "a=1\n"}),
              "nvram 1 generation=7 length=4 crc32=41927f6a\na=1\n");
    EXPECT_EQ(nvram::encode({.number = 7, .image = "a=12\n"}),
              "nvram 1 generation=7 length=5 crc32=2e19abe5\na=12\n");
    EXPECT_EQ(nvram::encode({.number = 10, .image = "a=1\n"}),
              "nvram 1 generation=10 length=4 crc32=2990b873\na=1\n");
    EXPECT_EQ(nvram::encode({.number = 10, .image = "a=12\n"}),
              "nvram 1 generation=10 length=5 crc32=4a1a01e2\na=12\n");
}

TEST(Generation, ComesBack) {
    for (const std::string_view image : {"", "a=1\n", "a=\\x01\nb=2\n"}) {
        for (const std::uint32_t number : {1U, 2U, 99U, 4294967295U}) {
            const std::string text = nvram::encode({.number = number, .image = image});
            const nvram::Generation generation = nvram::decode(text);
            EXPECT_EQ(generation.number, number);
            EXPECT_EQ(generation.image, image);
        }
    }
}

TEST(Generation, NumbersGoInACircle) {
    struct Row {
        std::uint32_t number, other;
        bool newer;
    };
    constexpr std::uint32_t largest = 4294967295U;
    const Row rows[] = {
        {1, 0, true},
        {0, 1, false},
        {0, 0, false},
        {largest, 0, true},
        {0, largest, false},
        {2, 1, true},
        {1, 2, false},
        {1, 1, false},
        {largest, largest - 1, true},
        {largest - 1, largest, false},
        {1, largest, true},
        {largest, 1, false},
        {1000, largest - 1000, true},
        {2147483648U, 1, true},
        {1, 2147483648U, false},
    };
    for (const Row& row : rows)
        EXPECT_EQ(nvram::is_newer(row.number, row.other), row.newer)
            << row.number << " " << row.other;
    EXPECT_EQ(nvram::number_after(0), 1U);
    EXPECT_EQ(nvram::number_after(7), 8U);
    EXPECT_EQ(nvram::number_after(largest), 1U);
}

TEST(Generation, RejectsOtherSpellings) {
    const std::string good = nvram::encode({.number = 7, .image = "a=1\n"});
    ASSERT_EQ(nvram::decode(good).number, 7U);
    std::string upper = good;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::string zero_before = good;
    zero_before.insert(zero_before.find("=7") + 1, "0");
    for (const std::string& text :
         {std::string(), std::string("\n"), upper, zero_before, good + "\n", "\n" + good,
          good + good, std::string("nvram 1 generation="),
          nvram::encode({.number = 0, .image = "a=1\n"})})
        EXPECT_EQ(nvram::decode(text).number, 0U) << text;
}

TEST(Generation, RejectsEveryTruncation) {
    const std::string good = nvram::encode({.number = 12, .image = "a=1\nb=two\nc=\\x01\n"});
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_EQ(nvram::decode(good.substr(0, length)).number, 0U) << length;
}

TEST(Generation, RejectsEveryWrongByte) {
    const std::string good = nvram::encode({.number = 12, .image = "a=1\nb=two\n"});
    for (std::size_t place = 0; place < good.size(); ++place) {
        for (int wrong = 0; wrong < 256; ++wrong) {
            std::string text = good;
            text[place] = static_cast<char>(wrong);
            if (text == good) continue;
            ASSERT_EQ(nvram::decode(text).number, 0U) << place << " " << wrong;
        }
    }
}

}  // namespace
