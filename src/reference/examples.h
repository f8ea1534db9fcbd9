// An example of each setting that is made of fields.
#ifndef RC_REFERENCE_EXAMPLES_H
#define RC_REFERENCE_EXAMPLES_H

#include <span>
#include <string_view>

struct Example {
    const char* key;
    const char* value;
};

std::span<const Example> setting_examples();

// The value for a key; "" when there is none.
std::string_view example_of(std::span<const Example> examples, std::string_view key);

#endif
