// Replaces the secrets among the settings in any text. Pure: no system calls.
#ifndef RC_NVRAM_MASK_H
#define RC_NVRAM_MASK_H

#include <cstddef>
#include <string>
#include <string_view>

namespace nvram {

// Every part of a secret that is at least this long is replaced, and a shorter secret as a whole.
inline constexpr std::size_t part_length = 6;

// Adds a secret, which may stand in a text as it is, with its quotes escaped, in base64 or in
// hexadecimal. The case of letters does not matter. False if there are more secrets than fit.
bool add_secret(std::string_view secret);

// Of each byte whether it belongs to a secret: a text of the same length, of 0 and 1. With parts,
// secrets shorter than part_length stay, and so does each line up to its first "=".
std::string marks_of(std::string_view text, bool parts);

}  // namespace nvram

#endif
