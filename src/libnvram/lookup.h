// The look-up of one key in a sorted image without going through the rest of it.
#ifndef RC_LIBNVRAM_LOOKUP_H
#define RC_LIBNVRAM_LOOKUP_H

#include <string>
#include <string_view>

#include "libnvram/image.h"

namespace nvram {

// Lines of an image that is sorted, among which the key's line is, or would be: few, unless a line
// in their middle is very long.
Lines find_lines_around(std::string_view key, std::string_view text);

// Reads these lines of the open file. False if it is not marked as sorted (io::mark_sorted) or
// cannot be read: then it has to be read whole.
bool read_lines_around(std::string_view key, int file, std::string& text);

}  // namespace nvram

#endif
