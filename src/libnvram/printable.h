// Text for a terminal: whatever could control it is escaped. Pure: no system calls.
#ifndef RC_LIBNVRAM_PRINTABLE_H
#define RC_LIBNVRAM_PRINTABLE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace nvram {

struct Character {
    std::size_t length = 0;  // in bytes; 0: the text does not begin with a well-formed character
    std::uint32_t code = 0;
};

// The UTF-8 character (RFC 3629) that a text begins with.
Character first_character(std::string_view text);

// Not a control, a line or paragraph separator, an invisible mark or a mark of direction.
bool is_printable(std::uint32_t code);

// Appends a line's text: printable characters and tabs as they are, each byte of anything else as
// an image escapes it (\xff). Backslashes stay.
void append_printable(std::string& out, std::string_view text);
std::string printable(std::string_view text);

}  // namespace nvram

#endif
