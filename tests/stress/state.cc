// Checks that a router's settings are undamaged after a test.

#include "state.h"

#include <filesystem>

#include "libnvram/generation.h"
#include "libnvram/image.h"
#include "room.h"

namespace stress {

void allow(Possible& possible, const Settings& settings) {
    for (const auto& [key, value] : settings) possible[key].insert(value);
}

std::string wrong_image(const std::string& name, const std::string& text,
                        const Possible& possible) {
    std::vector<nvram::BadLine> bad_lines;
    const nvram::Image image(text, &bad_lines);
    std::string wrong;
    if (!bad_lines.empty()) wrong += name + " has a damaged line\n";
    if (!text.empty() && text.back() != '\n') wrong += name + " has a line without an end\n";
    for (const nvram::Entry& entry : image.entries()) {
        const auto place = possible.find(std::string(entry.key));
        if (place == possible.end() || !place->second.contains(std::string(entry.value)))
            wrong += name + ": no run stored " + std::string(entry.key) + "=" +
                     std::string(entry.value) + "\n";
    }
    for (const auto& [key, values] : possible)
        if (!image.get(key) && !values.contains(no_value))
            wrong += name + " has lost " + key + "\n";
    return wrong;
}

std::string newest_in_flash() {
    uint32_t newest = 0;
    std::string image;
    for (const char* slot : {"/flash/nvram.a", "/flash/nvram.b"}) {
        const std::string text = read_text(slot);
        const nvram::Generation found = nvram::decode(text);
        if (!nvram::is_newer(found.number, newest)) continue;
        newest = found.number;
        image = found.image;
    }
    return image;
}

bool has_temporary_files(const char* folder) {
    if (!exists(folder)) return false;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        if (name.starts_with("nvram.") && name.ends_with(".new")) return true;
    }
    return false;
}

std::string wrong_settings(const Possible& working, const Possible& flash) {
    std::string wrong;
    if (!exists("/tmp/nvram")) return "there is no working copy\n";
    wrong += wrong_image("the working copy", read_text("/tmp/nvram"), working);
    for (const char* slot : {"/flash/nvram.a", "/flash/nvram.b"})
        if (exists(slot) && nvram::decode(read_text(slot)).number == 0)
            wrong += std::string(slot) + " is damaged\n";
    return wrong + wrong_image("the flash", newest_in_flash(), flash);
}

}  // namespace stress
