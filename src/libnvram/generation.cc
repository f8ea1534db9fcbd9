// One generation of the settings as flash holds it: "nvram 1 generation=N length=L crc32=XXXXXXXX",
// then the image.
#include "libnvram/generation.h"

#include <charconv>
#include <cstdio>

namespace nvram {

// CRC-32 as in zlib (reflected, polynomial 0x04c11db7), two bytes at a time: half of a commit's
// time went into one at a time. The tables, of a byte and of a byte that another follows, are
// computed at run time, because flash is scarcer than time.
static std::uint32_t crc32(std::uint32_t crc, std::string_view bytes) {
    static std::uint32_t tables[2][256];
    for (std::uint32_t byte = 0; tables[1][255] == 0; ++byte) {
        std::uint32_t rest = byte;
        for (auto& table : tables) {
            for (int bit = 0; bit < 8; ++bit) rest = (rest >> 1) ^ ((rest & 1) * 0xedb88320U);
            table[byte] = rest;
        }
    }
    crc = ~crc;
    const char* next = bytes.data();
    const char* const end = next + bytes.size();
    for (; end - next >= 2; next += 2) {
        crc ^= static_cast<unsigned char>(next[0]) |
               static_cast<std::uint32_t>(static_cast<unsigned char>(next[1])) << 8;
        crc = (crc >> 16) ^ tables[1][crc & 0xff] ^ tables[0][crc >> 8 & 0xff];
    }
    if (next != end) crc = (crc >> 8) ^ tables[0][(crc ^ static_cast<unsigned char>(*next)) & 0xff];
    return ~crc;
}

static constexpr std::string_view before_number = "nvram 1 generation=";

std::string encode(const Generation& generation) {
    char line[header_limit];
    std::snprintf(line, sizeof line, "nvram 1 generation=%u length=%zu ", generation.number,
                  generation.image.size());
    std::string text = line;
    // The checksum covers the number too: a flipped bit there would make an old generation the
    // newest.
    const std::uint32_t crc = crc32(crc32(0, text), generation.image);
    std::snprintf(line, sizeof line, "crc32=%08x\n", crc);
    text += line;
    text += generation.image;
    return text;
}

Generation decode(std::string_view text) {
    if (!text.starts_with(before_number)) return {};
    const std::size_t header_end = text.find('\n');
    if (header_end == std::string_view::npos) return {};

    Generation generation;
    const char* const digits = text.data() + before_number.size();
    std::from_chars(digits, text.data() + header_end, generation.number);
    generation.image = text.substr(header_end + 1);
    // Encoding it again compares the length, the checksum and the spelling of the numbers at once.
    if (encode(generation) != text) return {};
    return generation;
}

std::uint32_t number_after(std::uint32_t number) {
    return number == UINT32_MAX ? 1 : number + 1;
}

bool is_newer(std::uint32_t number, std::uint32_t other) {
    if (number == 0 || other == 0) return other == 0 && number != 0;
    const std::uint32_t ahead = number - other;
    return ahead != 0 && ahead <= UINT32_MAX / 2;
}

}  // namespace nvram
