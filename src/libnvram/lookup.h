// The look-up of one key in a sorted image without reading the rest of it.
#ifndef RC_LIBNVRAM_LOOKUP_H
#define RC_LIBNVRAM_LOOKUP_H

#include <string>
#include <string_view>

namespace nvram {

// Reads those lines of the open file among which the key's line is, if there is one. False if the
// file is not marked as sorted (io::mark_sorted) or cannot be read: then it has to be read whole.
bool read_lines_around(std::string_view key, int file, std::string& text);

}  // namespace nvram

#endif
