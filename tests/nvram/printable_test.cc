// Text for a terminal: which bytes reach it.
#include "libnvram/printable.h"

#include <gtest/gtest.h>

namespace {

TEST(Printable, KeepsTextAndEscapesTheRest) {
    struct Row {
        std::string text;
        std::string shown;
    };
    const Row rows[] = {
        {"", ""},
        {"plain ~ \\ \\x01", "plain ~ \\ \\x01"},
        {"a\tb", "a\tb"},
        {"a\nb\r\x1b[2J\x7f", "a\\x0ab\\x0d\\x1b[2J\\x7f"},
        // Letters, signs, an emoji.
        {"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x93\xb6", "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x93\xb6"},
        {"\xc2\xa0\xdf\xbf\xef\xbf\xbd", "\xc2\xa0\xdf\xbf\xef\xbf\xbd"},
        // C1 controls, as one byte and as UTF-8: 0x9b begins a terminal's commands as ESC [ does.
        {"\x9b"
         "2J",
         "\\x9b2J"},
        {"\xc2\x9b"
         "2J",
         "\\xc2\\x9b2J"},
        {"\xc2\x80\xc2\x9f", "\\xc2\\x80\\xc2\\x9f"},
        // Separators of lines, marks of direction, invisible ones.
        {"\xe2\x80\xa8|\xe2\x80\xae|\xe2\x80\x8b|\xef\xbb\xbf|\xf3\xa0\x80\x81",
         "\\xe2\\x80\\xa8|\\xe2\\x80\\xae|\\xe2\\x80\\x8b|\\xef\\xbb\\xbf|\\xf3\\xa0\\x80\\x81"},
        // Latin 1, a cut character, overlong ones, surrogates, beyond the last.
        {"caf\xe9", "caf\\xe9"},
        {"\xe2\x82", "\\xe2\\x82"},
        {"\xe2\x82z", "\\xe2\\x82z"},
        {"\xc0\xaf\xe0\x80\xaf\xf0\x80\x80\xaf", "\\xc0\\xaf\\xe0\\x80\\xaf\\xf0\\x80\\x80\\xaf"},
        {"\xed\xa0\x80", "\\xed\\xa0\\x80"},
        {"\xf4\x90\x80\x80\xf5\xff", "\\xf4\\x90\\x80\\x80\\xf5\\xff"},
    };
    for (const Row& row : rows) EXPECT_EQ(nvram::printable(row.text), row.shown);
}

TEST(Printable, ReadsCharacters) {
    struct Expected {
        std::string text;
        std::size_t length;
        std::uint32_t code;
    };
    const Expected rows[] = {
        {"", 0, 0},
        {"az", 1, 'a'},
        {std::string(1, '\0'), 1, 0},
        {"\xc2\x80", 2, 0x80},
        {"\xdf\xbfz", 2, 0x7ff},
        {"\xe0\xa0\x80", 3, 0x800},
        {"\xef\xbf\xbf", 3, 0xffff},
        {"\xf0\x90\x80\x80", 4, 0x10000},
        {"\xf4\x8f\xbf\xbf", 4, 0x10ffff},
        {"\x80", 0, 0},
        {"\xc3", 0, 0},
    };
    for (const Expected& row : rows) {
        const nvram::Character character = nvram::first_character(row.text);
        EXPECT_EQ(character.length, row.length) << nvram::printable(row.text);
        EXPECT_EQ(character.code, row.code) << nvram::printable(row.text);
    }
}

}  // namespace
