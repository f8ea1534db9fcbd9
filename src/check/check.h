// What is wrong with settings: their forms, how they fit together, what a shell makes of them.
#ifndef RC_CHECK_CHECK_H
#define RC_CHECK_CHECK_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "libnvram/image.h"
#include "settings/sinks.h"
#include "settings/table.h"

namespace nvram {

struct Finding {
    Level level;
    // The setting; "line 7" for a line that is none.
    std::string key;
    // As an image escapes it, a secret as stars.
    std::string value;
    // Follows the setting's name: "is no IPv4 address".
    std::string problem;
    // Follows rc's name: "writes it into the rule as it stands".
    std::string effect;
    // What to write instead, key=value where it can be told.
    std::string cure;
};

// All findings, sorted by key. A setting that is not in the image is one that is not set. Pure.
std::vector<Finding> check_settings(const Image& image);

// The same with another table of sinks.
std::vector<Finding> check_settings(const Image& image, std::span<const Sink> sinks);

}  // namespace nvram

#endif
