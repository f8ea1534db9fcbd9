// What a router's tools print: seeds of found_fuzz.
#ifndef RC_TESTS_FUZZ_ROUTER_OUTPUTS_H
#define RC_TESTS_FUZZ_ROUTER_OUTPUTS_H

#include <span>
#include <string_view>

// Members of an archive, separated by form feeds.
std::span<const std::string_view> router_outputs();

#endif
