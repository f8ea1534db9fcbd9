// Where the settings are.
#ifndef RC_LIBNVRAM_PLACES_H
#define RC_LIBNVRAM_PLACES_H

#include <string>
#include <string_view>

namespace nvram {

inline constexpr const char* trial_ending = ".trial";

struct Places {
    std::string working;  // the working copy, on the RAM disk
    std::string factory;  // the factory settings, part of the firmware
    std::string flash;    // the generations in flash are this path with .a and .b
    std::string root =
        {};  // the folder that stands for the router's /; empty for the router itself

    // There while a change is on trial (nvram try): then flash is written by its confirmation only.
    std::string trial() const { return working + trial_ending; }
};

// The build's places below a root folder; "" for the router itself.
Places places_below(std::string_view root);

// The root folder that the library's functions use.
std::string_view library_root();

}  // namespace nvram

#endif
