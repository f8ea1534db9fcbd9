// One generation of the settings as flash holds it: a header line with the generation's number,
// length and checksum, then the text image. Pure: no system calls.
#ifndef RC_LIBNVRAM_GENERATION_H
#define RC_LIBNVRAM_GENERATION_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace nvram {

// Room for the header line with the largest numbers.
inline constexpr std::size_t header_limit = 80;

struct Generation {
    std::uint32_t number = 0;  // counts from 1; after the largest comes 1; 0 means no generation
    std::string_view image;    // points into the decoded text
};

std::string encode(const Generation& generation);

// Returns number 0 if even one byte is wrong, missing or extra.
Generation decode(std::string_view text);

std::uint32_t number_after(std::uint32_t number);

// Compares numbers in a circle (RFC 1982), so that 1 is newer than the largest. Every generation is
// newer than none.
bool is_newer(std::uint32_t number, std::uint32_t other);

}  // namespace nvram

#endif
