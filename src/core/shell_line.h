// A lexer for lines of a POSIX shell: the role of each character, the quotes that are open at a
// place, and the words, redirections and operators of a text. It expands nothing.
#ifndef RC_CORE_SHELL_LINE_H
#define RC_CORE_SHELL_LINE_H

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

// Characters that are special to a shell or in a crontab, or that end a line.
inline constexpr std::string_view special_characters = "\n\t !\"#$%&'()*;<>?[\\]^`{|}~";

enum class ShellQuotes : uint8_t { None, Double, Single };

// The role of a character in a shell line.
enum class ShellRole : uint8_t {
    Text,       // no special meaning
    Blank,      // ends a word
    Operator,   // ends a word; controls, groups or redirects: ; & | ( ) < > newline
    Quote,      // begins or ends quotes
    Escape,     // a backslash
    Expansion,  // begins something that the shell replaces: $ ` ~
    Pattern,    // part of a pattern for names of files: * ? [
    Comment,    // begins a comment, which ends before the newline
};

ShellRole shell_role(char c, ShellQuotes quotes, bool starts_word);

// Reads a text character by character; a backslash with the character that it escapes counts as one
// character, and so does a comment.
class ShellReader {
  public:
    explicit ShellReader(std::string_view text) : text_(text) {}

    bool at_end() const { return at_ == text_.size(); }
    // The next character; must not be called at the end.
    char next() const { return text_[at_]; }
    ShellRole role() const { return shell_role(next(), quotes_, starts_word_); }
    // The rest of the text.
    std::string_view rest() const { return text_.substr(at_); }
    size_t at() const { return at_; }

    // The open quotes, and the place where they began.
    ShellQuotes quotes() const { return quotes_; }
    size_t quotes_at() const { return quotes_at_; }

    // Consumes the next character, and returns its contribution to the word.
    std::string_view take();

  private:
    std::string_view text_;
    size_t at_ = 0;
    ShellQuotes quotes_ = ShellQuotes::None;
    size_t quotes_at_ = 0;
    bool starts_word_ = true;

    std::string_view take_escape();
};

// A reader that has consumed the text before a place, for the quotes that are open there.
ShellReader shell_reader_at(std::string_view text, size_t place);

struct ShellPiece {
    enum class Kind : uint8_t { Word, Redirection, Operator, Comment };
    Kind kind;
    // Its offset and size in the text.
    size_t at = 0;
    size_t size = 0;
    // Of an operator or a redirection: "&&", "\n", ">>".
    std::string_view sign = {};
    // Of a redirection: the number before the sign; may be empty.
    std::string_view descriptor = {};
    // The word, or the target of a redirection, without its quotes.
    std::string text = {};
    // Its characters that may be special: $ ` \ outside single quotes, and * ? [ ] # ~ { } !
    // outside all quotes.
    std::string special = {};
    // The first of its characters that begins an expansion; '\0' if it has no expansion.
    char expansion = '\0';
    // It contains a quote that is not closed.
    bool unclosed = false;
};

// Here-documents are not supported: their lines are read as commands.
std::vector<ShellPiece> shell_pieces(std::string_view text);

#endif
