// nvram check: errors in settings, by form, by combination, and in the lines that they end up in.
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
    // The setting; "line 7" for a line that is not KEY=VALUE.
    std::string key;
    // As an image escapes it; asterisks for a secret.
    std::string value;
    // Follows the setting's name: "is not an IPv4 address".
    std::string problem;
    // Follows "rc": "writes it unchanged into the rule".
    std::string effect;
    // What to write instead, as key=value where that is known.
    std::string fix;
};

// All findings, sorted by key. A setting that is not in the image counts as not set. Pure.
std::vector<Finding> check_settings(const Image& image);

// The same with another table of sinks.
std::vector<Finding> check_settings(const Image& image, std::span<const Sink> sinks);

// All findings of a text image: first those about its lines, whose key is "line 7" or "the file",
// then those of its settings. One mistake of the whole file, such as other line ends, is one
// finding, and the rest is checked without it.
std::vector<Finding> check_image(std::string text);

}  // namespace nvram

#endif
