// Lines of a POSIX shell, taken apart: which characters stand for themselves, which quotes are open
// at a place, which words, redirections and operators a text holds. Nothing is expanded.
#ifndef RC_CORE_SHELL_LINE_H
#define RC_CORE_SHELL_LINE_H

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

// What means something to a shell, in a crontab or as the end of a line.
inline constexpr std::string_view special_characters = "\n\t !\"#$%&'()*;<>?[\\]^`{|}~";

enum class ShellQuotes : uint8_t { None, Double, Single };

// The role of a character in a shell line.
enum class ShellRole : uint8_t {
    Text,       // itself
    Blank,      // ends a word
    Operator,   // ends a word; controls, groups or redirects: ; & | ( ) < > newline
    Quote,      // begins or ends quotes
    Escape,     // a backslash
    Expansion,  // begins something that the shell replaces: $ ` ~
    Pattern,    // part of a pattern for names of files: * ? [
    Comment,    // begins a comment, which ends before the newline
};

ShellRole shell_role(char c, ShellQuotes quotes, bool starts_word);

// Goes through a text one character after the other; a backslash and what it escapes are taken at
// once, and so is a comment.
class ShellReader {
  public:
    explicit ShellReader(std::string_view text) : text_(text) {}

    bool at_end() const { return at_ == text_.size(); }
    // The next character; not at the end.
    char next() const { return text_[at_]; }
    ShellRole role() const { return shell_role(next(), quotes_, starts_word_); }
    // The rest of the text.
    std::string_view rest() const { return text_.substr(at_); }
    size_t at() const { return at_; }

    // The quotes that are open, and where they began.
    ShellQuotes quotes() const { return quotes_; }
    size_t quotes_at() const { return quotes_at_; }

    // Takes the next character, and returns what the word that it belongs to gets of it.
    std::string_view take();

  private:
    std::string_view text_;
    size_t at_ = 0;
    ShellQuotes quotes_ = ShellQuotes::None;
    size_t quotes_at_ = 0;
    bool starts_word_ = true;

    std::string_view take_escape();
};

// As far as the character at a place, or to the end: what quotes are open there.
ShellReader shell_reader_at(std::string_view text, size_t place);

struct ShellPiece {
    enum class Kind : uint8_t { Word, Redirection, Operator, Comment };
    Kind kind;
    // Where it stands in the text.
    size_t at = 0;
    size_t size = 0;
    // Of an operator or a redirection: "&&", "\n", ">>".
    std::string_view sign = {};
    // Of a redirection: the number in front of the sign, if there is one.
    std::string_view descriptor = {};
    // Of a word, or the word that a redirection leads to: without its quotes.
    std::string text = {};
    // Its characters that may mean more than themselves: $ ` \ outside single quotes, and
    // * ? [ ] # ~ { } ! outside all quotes.
    std::string special = {};
    // The first of its characters that begins an expansion; '\0' when none does.
    char expansion = '\0';
    // A quote in it is not closed.
    bool unclosed = false;
};

// Here-documents are not known: their lines count as commands.
std::vector<ShellPiece> shell_pieces(std::string_view text);

#endif
