// The generated table of the lines that rc writes from each setting.
#include "settings/sinks.h"

#include <iterator>

namespace nvram {

static constexpr Sink sinks[] = {
#include "settings/sinks.inc"
    // An array needs a row; this one is not shown.
    {},
};

std::span<const Sink> setting_sinks() {
    return {sinks, std::size(sinks) - 1};
}

}  // namespace nvram
