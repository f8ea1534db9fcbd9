// Where the settings are.
#ifndef RC_LIBNVRAM_PLACES_H
#define RC_LIBNVRAM_PLACES_H

#include <string>
#include <string_view>

namespace nvram {

struct Places {
    std::string working;  // the working copy, on the RAM disk
    std::string factory;  // the factory settings, part of the firmware
    std::string flash;    // the generations in flash are this path with .a and .b
};

// The build's places below a root folder; "" for the router itself.
Places places_below(std::string_view root);

// The root folder that the library's functions use.
std::string_view library_root();

}  // namespace nvram

#endif
