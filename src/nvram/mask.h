// Finds the secrets among the settings in any text. Pure: no system calls.
#ifndef RC_NVRAM_MASK_H
#define RC_NVRAM_MASK_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace nvram {

// Every part of a secret that is at least this long is found, and a shorter secret as a whole.
inline constexpr std::size_t part_length = 6;

// Large; not for the stack.
class Mask {
  public:
    // Adds a secret, which may stand in a text as it is, with its quotes escaped, in base64 or in
    // hexadecimal. The case of letters does not matter. False if the secrets are too long: there is
    // room for some kilobytes.
    bool add(std::string_view secret);

    // Of each byte whether it belongs to a secret: a text of the same length, of 0 and 1. With
    // parts, secrets shorter than part_length are not found, and nothing before a line's first "=".
    std::string marks(const std::string& text, bool parts);

  private:
    // Up to part_length bytes and, in the highest byte, their number; never 0.
    using Piece = std::uint64_t;
    struct Window;

    Piece& place_of(Piece piece);
    void put(Piece piece, std::size_t length);
    void add_text(std::string_view text, bool unquoted, bool whole);
    void mark(const std::string& text, bool unquoted, bool parts, std::string& marks);

    // A hash table with open addressing; 0 is a free place.
    Piece pieces_[65536] = {};
    std::size_t count_ = 0;
    // A bit for each length that a piece has.
    unsigned lengths_ = 0;
};

}  // namespace nvram

#endif
