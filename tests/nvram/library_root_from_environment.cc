// The root folder of the library under test: $NVRAM_TEST_ROOT.
#include <cstdlib>

#include "libnvram/places.h"

namespace nvram {

std::string_view library_root() {
    const char* const root = std::getenv("NVRAM_TEST_ROOT");
    return root != nullptr ? root : "/nonexistent";
}

}  // namespace nvram
