// Splits shell lines by the rules of POSIX.1 (Shell Command Language, 2.2 and 2.3).

#include "core/shell_line.h"

#include <algorithm>

namespace {

bool one_of(std::string_view characters, char c) {
    return characters.find(c) != std::string_view::npos;
}

ShellRole bare_role(char c, bool starts_word) {
    switch (c) {
        case ' ':
        case '\t':
            return ShellRole::Blank;
        case ';':
        case '&':
        case '|':
        case '(':
        case ')':
        case '<':
        case '>':
        case '\n':
            return ShellRole::Operator;
        case '"':
        case '\'':
            return ShellRole::Quote;
        case '\\':
            return ShellRole::Escape;
        case '$':
        case '`':
            return ShellRole::Expansion;
        case '~':
            return starts_word ? ShellRole::Expansion : ShellRole::Text;
        case '*':
        case '?':
        case '[':
            return ShellRole::Pattern;
        case '#':
            return starts_word ? ShellRole::Comment : ShellRole::Text;
        default:
            return ShellRole::Text;
    }
}

// An operator comes before its own prefixes.
constexpr std::string_view operators[] = {"&&", "||", ";;"};
constexpr std::string_view redirections[] = {"<<-", "<<", "<&", "<>", ">>", ">&", ">|"};

template <size_t size>
size_t sign_size(const std::string_view (&signs)[size], std::string_view rest) {
    for (const std::string_view sign : signs)
        if (rest.starts_with(sign)) return sign.size();
    return 1;
}

class PieceReader {
  public:
    explicit PieceReader(std::string_view text) : text_(text), reader_(text) {}
    std::vector<ShellPiece> read();

  private:
    std::string_view text_;
    ShellReader reader_;

    bool is_in_word() const;
    bool is_at_redirection() const;
    void skip_blanks();
    std::string_view take_sign(size_t size);
    void take_word(ShellPiece& piece);
    ShellPiece read_piece();
};

// Skips blanks between words, and newlines after a backslash.
void PieceReader::skip_blanks() {
    while (!reader_.at_end() &&
           (reader_.role() == ShellRole::Blank || reader_.rest().starts_with("\\\n")))
        reader_.take();
}

std::string_view PieceReader::take_sign(size_t size) {
    const std::string_view sign = reader_.rest().substr(0, size);
    for (size_t i = 0; i < size; i++) reader_.take();
    return sign;
}

bool PieceReader::is_in_word() const {
    if (reader_.at_end()) return false;
    const ShellRole role = reader_.role();
    return role != ShellRole::Blank && role != ShellRole::Operator && role != ShellRole::Comment;
}

bool PieceReader::is_at_redirection() const {
    return !reader_.at_end() && reader_.role() == ShellRole::Operator &&
           one_of("<>", reader_.next());
}

void PieceReader::take_word(ShellPiece& piece) {
    while (is_in_word()) {
        const char c = reader_.next();
        const ShellRole role = reader_.role();
        const bool bare = reader_.quotes() == ShellQuotes::None;
        if (role == ShellRole::Expansion && piece.expansion == '\0') piece.expansion = c;
        if (role == ShellRole::Expansion || role == ShellRole::Escape ||
            role == ShellRole::Pattern || (bare && one_of("]#~{}!", c)))
            piece.special += c;
        piece.text += reader_.take();
    }
    piece.unclosed = reader_.quotes() != ShellQuotes::None;
}

ShellPiece PieceReader::read_piece() {
    ShellPiece piece = {.kind = ShellPiece::Kind::Word, .at = reader_.at()};
    if (is_in_word()) take_word(piece);
    const std::string_view raw = text_.substr(piece.at, reader_.at() - piece.at);
    const bool is_number = raw.find_first_not_of("0123456789") == raw.npos;
    if (is_at_redirection() && is_number) {
        piece = {.kind = ShellPiece::Kind::Redirection, .at = piece.at, .descriptor = raw};
        piece.sign = take_sign(sign_size(redirections, reader_.rest()));
        skip_blanks();
        take_word(piece);
    } else if (raw.empty() && reader_.role() == ShellRole::Comment) {
        piece.kind = ShellPiece::Kind::Comment;
        reader_.take();
    } else if (raw.empty()) {
        piece.kind = ShellPiece::Kind::Operator;
        piece.sign = take_sign(sign_size(operators, reader_.rest()));
    }
    piece.size = reader_.at() - piece.at;
    return piece;
}

std::vector<ShellPiece> PieceReader::read() {
    std::vector<ShellPiece> pieces;
    for (skip_blanks(); !reader_.at_end(); skip_blanks()) pieces.push_back(read_piece());
    return pieces;
}

}  // namespace

ShellRole shell_role(char c, ShellQuotes quotes, bool starts_word) {
    if (quotes == ShellQuotes::None) return bare_role(c, starts_word);
    if (quotes == ShellQuotes::Single) return c == '\'' ? ShellRole::Quote : ShellRole::Text;
    if (c == '"') return ShellRole::Quote;
    if (c == '\\') return ShellRole::Escape;
    return one_of("$`", c) ? ShellRole::Expansion : ShellRole::Text;
}

std::string_view ShellReader::take() {
    const ShellRole role = this->role();
    if (role == ShellRole::Escape) return take_escape();
    starts_word_ = role == ShellRole::Blank || role == ShellRole::Operator;
    size_t size = 1;
    if (role == ShellRole::Comment) size = std::min(rest().find('\n'), rest().size());
    if (role == ShellRole::Quote) {
        const ShellQuotes begun = next() == '"' ? ShellQuotes::Double : ShellQuotes::Single;
        quotes_ = quotes_ == ShellQuotes::None ? begun : ShellQuotes::None;
        quotes_at_ = at_;
    }
    const std::string_view taken = text_.substr(at_, size);
    at_ += size;
    return role == ShellRole::Quote ? std::string_view() : taken;
}

// Between double quotes a backslash escapes only a few characters and is kept before others. A
// backslash and a newline are removed, which joins the lines.
std::string_view ShellReader::take_escape() {
    const std::string_view escaped = rest().substr(1, 1);
    const bool stays =
        quotes_ == ShellQuotes::Double && (escaped.empty() || !one_of("$`\"\\\n", escaped.front()));
    const bool joins = escaped == "\n";
    const std::string_view taken = stays ? rest().substr(0, 1) : escaped;
    at_ += stays ? 1 : 1 + escaped.size();
    if (joins) return {};
    starts_word_ = false;
    return taken;
}

ShellReader shell_reader_at(std::string_view text, size_t place) {
    ShellReader reader(text);
    while (!reader.at_end() && reader.at() < place) reader.take();
    return reader;
}

std::vector<ShellPiece> shell_pieces(std::string_view text) {
    return PieceReader(text).read();
}
