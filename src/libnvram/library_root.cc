// The root folder of the library's settings on the router. A separate file, so that a test can
// link another.
#include "libnvram/places.h"

namespace nvram {

std::string_view library_root() {
    return "";
}

}  // namespace nvram
