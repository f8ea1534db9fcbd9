// One generation of the settings as flash holds it: "nvram 1 generation=N length=L crc32=XXXXXXXX",
// then the image.
#include "libnvram/generation.h"

#include <charconv>
#include <cstdio>

namespace nvram {

// CRC-32 as in zlib (reflected, polynomial 0x04c11db7). The table is computed at run time, because
// flash is scarcer than time; without it, a commit takes four times as long.
static std::uint32_t crc32(std::uint32_t crc, std::string_view bytes) {
    static std::uint32_t table[256];
    for (std::uint32_t byte = 0; table[255] == 0; ++byte) {
        std::uint32_t rest = byte;
        for (int bit = 0; bit < 8; ++bit) rest = (rest >> 1) ^ ((rest & 1) * 0xedb88320U);
        table[byte] = rest;
    }
    crc = ~crc;
    for (const char c : bytes)
        crc = (crc >> 8) ^ table[(crc ^ static_cast<unsigned char>(c)) & 0xff];
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
