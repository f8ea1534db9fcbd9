// A store on the simulated disk, and what it has written there.
#ifndef RC_TESTS_STORE_KIT_H
#define RC_TESTS_STORE_KIT_H

#include <gtest/gtest.h>

#include <string>

#include "libnvram/generation.h"
#include "libnvram/store.h"
#include "simulated_disk.h"

inline const nvram::Places places{
    .working = "/tmp/nvram", .factory = "/etc/default", .flash = "/flash/nvram"};

inline std::string working() {
    const std::string* text = disk().state.content("/tmp/nvram");
    return text != nullptr ? *text : "(none)";
}

inline std::uint32_t number_in(const std::string& slot) {
    const std::string* text = disk().state.content(slot);
    return text != nullptr ? nvram::decode(*text).number : 0;
}

inline bool any_temporary_file() {
    for (const auto& [path, inode] : disk().state.names)
        if (path.ends_with(".new")) return true;
    return false;
}

inline std::string value(nvram::Store& store, std::string_view key) {
    const nvram::Image* image = store.working();
    return image != nullptr ? std::string(image->get(key).value_or("(unset)")) : "(none)";
}

inline std::string setting(int number) {
    return "key_" + std::to_string(number);
}

// A new disk whose working copy has so many settings, written by the store: the square of each
// number.
inline void fill(int count) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "");
    std::string text;
    for (int i = 0; i < count; ++i) text += setting(i) + "=" + std::to_string(i * i) + "\n";
    nvram::Store store(places);
    ASSERT_TRUE(store.replace(nvram::Image(text)));
}

inline std::string generation(std::uint32_t number, std::string_view image) {
    return nvram::encode({.number = number, .image = image});
}

#endif
