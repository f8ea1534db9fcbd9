// The lexer of shell lines.

#include "core/shell_line.h"

#include <gtest/gtest.h>

namespace {

// Words in [], redirections as <descriptor sign word>, operators and comments unchanged.
std::string shown(std::string_view text) {
    std::string out;
    for (const ShellPiece& piece : shell_pieces(text)) {
        if (!out.empty()) out += ' ';
        if (piece.kind == ShellPiece::Kind::Word) out += "[" + piece.text + "]";
        if (piece.kind == ShellPiece::Kind::Operator) out += piece.sign;
        if (piece.kind == ShellPiece::Kind::Comment) out += text.substr(piece.at, piece.size);
        if (piece.kind == ShellPiece::Kind::Redirection)
            out += "<" + std::string(piece.descriptor) + " " + std::string(piece.sign) + " " +
                   piece.text + ">";
    }
    return out;
}

struct TextRow {
    const char* text;
    const char* expected;
};

TEST(ShellLines, Words) {
    for (const TextRow& row : {
             TextRow{"", ""},
             {" \t ", ""},
             {"a  b\tc", "[a] [b] [c]"},
             {"a '' \"\"", "[a] [] []"},
             {"'a b' \"c d\"e'f'", "[a b] [c def]"},
             {"a\\ b \\'c", "[a b] ['c]"},
             {"'a\\b' \"a\\b\"", "[a\\b] [a\\b]"},
             {"\"\\$ \\` \\\" \\\\\"", "[$ ` \" \\]"},
             {"'\"' \"'\"", "[\"] [']"},
             {"a\\\nb \\\n c", "[ab] [c]"},
             {"\"a\\\nb\"", "[ab]"},
             {"'a\nb'", "[a\nb]"},
             {"a \\", "[a] []"},
             {"\"a\\", "[a\\]"},
             {"a'b", "[ab]"},
             {"$a `b` *.c", "[$a] [`b`] [*.c]"},
         })
        EXPECT_EQ(shown(row.text), row.expected) << row.text;
}

TEST(ShellLines, OperatorsEndWords) {
    for (const TextRow& row : {
             TextRow{"a&&b||c", "[a] && [b] || [c]"},
             {"a;b;;c", "[a] ; [b] ;; [c]"},
             {"a&b|c", "[a] & [b] | [c]"},
             {"(a)", "( [a] )"},
             {"a\n\nb", "[a] \n \n [b]"},
             {"a '&' \";\" \\|", "[a] [&] [;] [|]"},
         })
        EXPECT_EQ(shown(row.text), row.expected) << row.text;
}

TEST(ShellLines, Redirections) {
    for (const TextRow& row : {
             TextRow{"a>b", "[a] < > b>"},
             {"a >> b c", "[a] < >> b> [c]"},
             {"a 2>b", "[a] <2 > b>"},
             {"a 10>b", "[a] <10 > b>"},
             {"a2>b", "[a2] < > b>"},
             {"a '2'>b", "[a] [2] < > b>"},
             {"a 2 >b", "[a] [2] < > b>"},
             {"a 2>&1 <c", "[a] <2 >& 1> < < c>"},
             {"a >'b c'd", "[a] < > b cd>"},
             {"a <<b", "[a] < << b>"},
             {"a <<-b", "[a] < <<- b>"},
             {"a >|b 3<>c <&-", "[a] < >| b> <3 <> c> < <& ->"},
             {"a > ;", "[a] < > > ;"},
             {"a &>b", "[a] & < > b>"},
         })
        EXPECT_EQ(shown(row.text), row.expected) << row.text;
}

TEST(ShellLines, Comments) {
    for (const TextRow& row : {
             TextRow{"#a 'b", "#a 'b"},
             {"a #b\nc", "[a] #b \n [c]"},
             {"a#b", "[a#b]"},
             {"a '#b' \\#c \"\"#d", "[a] [#b] [#c] [#d]"},
             {"a;#b", "[a] ; #b"},
             {"a \\\n#b", "[a] #b"},
             {"a\\\n#b", "[a#b]"},
         })
        EXPECT_EQ(shown(row.text), row.expected) << row.text;
}

TEST(ShellLines, PiecesKnowWhereTheyStand) {
    const std::string_view text = " a 2>> 'b' && # c";
    std::string out;
    for (const ShellPiece& piece : shell_pieces(text))
        out += "|" + std::string(text.substr(piece.at, piece.size));
    EXPECT_EQ(out, "|a|2>> 'b'|&&|# c");
}

TEST(ShellLines, WhatMayMeanMore) {
    struct Row {
        const char* text;
        const char* special;
        char expansion;
    };
    for (const Row& row : {
             Row{"a-b.c,d=e%f@g:h+i^j", "", '\0'},
             Row{"$a", "$", '$'},
             Row{"a`b`", "``", '`'},
             Row{"\"$a\"", "$", '$'},
             Row{"'$a`\\*'", "", '\0'},
             Row{"\"*?[]#~{}!\"", "", '\0'},
             Row{"a*b?c[d]e#f~g{h}i!", "*?[]#~{}!", '\0'},
             Row{"~a$b", "~$", '~'},
             Row{"\\$", "\\", '\0'},
             Row{"\"\\$\"", "\\", '\0'},
             Row{">~", "~", '~'},
         }) {
        const std::vector<ShellPiece> pieces = shell_pieces(row.text);
        ASSERT_EQ(pieces.size(), 1u) << row.text;
        EXPECT_EQ(pieces[0].special, row.special) << row.text;
        EXPECT_EQ(pieces[0].expansion, row.expansion) << row.text;
        EXPECT_FALSE(pieces[0].unclosed) << row.text;
    }
    for (const char* text : {"'a", "\"a", "a\"", ">'a"})
        EXPECT_TRUE(shell_pieces(text).at(0).unclosed) << text;
}

TEST(ShellLines, OpenQuotesAtAPlace) {
    struct Row {
        const char* line;  // with @ at the place
        ShellQuotes quotes;
        size_t at;  // where they began
    };
    for (const Row& row : {
             Row{"@", ShellQuotes::None, 0},
             Row{"a @", ShellQuotes::None, 0},
             Row{"a \"@\"", ShellQuotes::Double, 2},
             Row{"a 'b' '@", ShellQuotes::Single, 6},
             Row{"a \"it's @\"", ShellQuotes::Double, 2},
             Row{"a 'say \"@\"'", ShellQuotes::Single, 2},
             Row{"a \\\"@", ShellQuotes::None, 0},
             Row{"\"\\\"@\"", ShellQuotes::Double, 0},
             Row{"# it's\n'@'", ShellQuotes::Single, 7},
         }) {
        const std::string_view line = row.line;
        const ShellReader reader = shell_reader_at(line, line.find('@'));
        EXPECT_EQ(reader.quotes(), row.quotes) << line;
        if (row.quotes == ShellQuotes::None) continue;
        EXPECT_EQ(reader.quotes_at(), row.at) << line;
    }
    EXPECT_EQ(shell_reader_at("a '", 100).quotes(), ShellQuotes::Single);
}

}  // namespace
