// The table of uses. Its rows are generated.
#include "settings/uses.h"

#include <iterator>

namespace nvram {

static constexpr Use use_rows[] = {
#include "settings/uses.inc"
    {},  // A table has at least one row.
};

std::span<const Use> setting_uses() {
    return std::span(use_rows).first(std::size(use_rows) - 1);
}

std::string_view actions_of(std::span<const Use> uses, std::string_view key) {
    for (const Use& use : uses)
        if (key == use.key) return use.actions;
    return "";
}

}  // namespace nvram
