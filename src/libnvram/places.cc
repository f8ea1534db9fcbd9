// Where the settings are: the paths that the build was configured with.
#include "libnvram/places.h"

namespace nvram {

static std::string below(std::string_view root, std::string_view path) {
    std::string whole(root);
    whole += path;
    return whole;
}

Places places_below(std::string_view root) {
    return {.working = below(root, RC_NVRAM_WORKING),
            .factory = below(root, RC_NVRAM_FACTORY),
            .flash = below(root, RC_NVRAM_FLASH)};
}

}  // namespace nvram
