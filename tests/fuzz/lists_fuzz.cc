// Arbitrary bytes in every parser of lists, records and small files.

#include <stdint.h>

#include <algorithm>

#include "lists.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    std::string text(bytes);
    std::erase(text, '\0');

    expect_numbers(text);
    expect_fields(text);
    expect_escapes(text);
    expect_block_lists(text);
    expect_forwards(text);
    expect_triggers(text);
    expect_qos_rules(text);
    expect_services(text);
    expect_route(text);
    expect_schedule(text);
    expect_wireless_lists(text);
    expect_shapes(text);
    expect_reservation(text);
    expect_leases(bytes);
    expect_small_files(bytes);
    return 0;
}
