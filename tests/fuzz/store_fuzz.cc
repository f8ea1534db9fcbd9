// Arbitrary calls of the settings library and the store over the simulated disk, compared with a
// model of both. Each line is a call: its first character selects it, the rest are its arguments.

#include <string.h>

#include <optional>

#include "core/text.h"
#include "expect.h"
#include "libnvram/generation.h"
#include "libnvram/image.h"
#include "libnvram/libnvram.h"
#include "libnvram/places.h"
#include "libnvram/store.h"
#include "plan/router/settings.h"
#include "simulated_disk.h"

namespace {

constexpr const char* working_path = "/tmp/nvram";
constexpr const char* export_path = "/tmp/saved.txt";
constexpr const char* slots[] = {"/flash/nvram.a", "/flash/nvram.b"};
// More than a first look-up and a set look at.
const std::string factory_settings = [] {
    std::string text = "lan_if=br0\nlan_ipaddr=192.168.1.1\nwan_mode=dhcpc\n";
    for (int i = 0; i < 300; ++i) text += "setting_" + std::to_string(i) + "=x\n";
    return text;
}();

// The expected settings.
struct Model {
    std::optional<Settings> working;
    bool damaged = false;  // the working copy has lines that cannot be read
    std::optional<Settings> flash;
};

// In a line of the fuzzer's text, a newline is written "\n".
std::string image_of(std::string_view text) {
    std::string image;
    while (!text.empty()) {
        const size_t end = std::min(text.find("\\n"), text.size());
        image += text.substr(0, end);
        if (end < text.size()) image += '\n';
        text.remove_prefix(std::min(text.size(), end + 2));
    }
    return image;
}

void expect_value(const Model& model, const std::string& key) {
    const char* value = nvram_zel_get(key.c_str());
    const bool known = model.working && model.working->contains(key);
    expect((value != nullptr) == known, "a setting is set or not");
    if (known) expect(model.working->at(key) == value, "a setting's value");
    char* copy = nvram_zel_safe_get(key.c_str());
    expect(copy && (known ? model.working->at(key) : "") == copy, "a copy of a setting's value");
    free(copy);
    nvram::Store other(nvram::places_below(""));
    const nvram::Image* around = other.working_around(key);
    const auto first = around ? around->get(key) : std::nullopt;
    expect(first.has_value() == known && (!known || *first == model.working->at(key)),
           "a first look-up");
    expect(nvram::valid_key(key) || !known, "no setting has an invalid key");
}

void set(Model& model, const std::string& key, const std::optional<std::string>& value) {
    const int result = nvram_zel_set(key.c_str(), value ? value->c_str() : nullptr);
    const bool legal = nvram::valid_key(key) && (!value || value->size() <= nvram::value_limit);
    expect((result == 0) == (legal && model.working && !model.damaged),
           "a legal setting is stored in a working copy that can be read");
    if (result == 0 && value) (*model.working)[key] = *value;
    if (result == 0 && !value) model.working->erase(key);
    expect_value(model, key);
}

void load(Model& model) {
    expect(nvram_zel_load() == 0, "the factory settings can be loaded");
    model.working = model.flash ? *model.flash : read_settings(factory_settings);
    model.damaged = false;
}

void commit(Model& model) {
    const int result = nvram_zel_commit();
    expect((result == 0) == (model.working && !model.working->empty() && !model.damaged),
           "a working copy with settings that can all be read is committed");
    if (result == 0) model.flash = model.working;
}

// As nvram import does, with or without --replace.
void import(Model& model, nvram::Store& store, const std::string& text, bool replace) {
    std::vector<nvram::BadLine> bad_lines;
    const nvram::Image image(text, &bad_lines);
    if (!bad_lines.empty()) return;
    const bool stored = replace ? store.replace(image) : store.change(image.entries());
    expect(stored == (model.working && (replace || !model.damaged)),
           "a good image is imported into a working copy");
    if (!stored) return;
    if (replace) {
        model.working->clear();
        model.damaged = false;
    }
    for (const auto& [key, value] : read_settings(text)) (*model.working)[key] = value;
}

// As nvram export does. The export has all settings and can be imported.
void save(const Model& model, nvram::Store& store) {
    const nvram::Image* image = store.working();
    expect((image != nullptr) == model.working.has_value(), "a working copy can be exported");
    if (!image) return;
    expect(store.put_file(export_path, image->text(), true), "a file is written");
    const std::string& saved = *disk().state.content(export_path);
    std::vector<nvram::BadLine> bad_lines;
    expect(nvram::Image(saved, &bad_lines).text() == saved,
           "an export is unchanged after reading and writing");
    expect(bad_lines.empty(), "an export has no bad lines");
    expect(read_settings(saved) == *model.working, "an export has all settings");
    for (const auto& [key, value] : *model.working) {
        const char* read = __nvram_get_fun(key.c_str(), export_path);
        expect(read && value == read, "one value of a file");
    }
}

void damage(Model& model, std::string_view text) {
    const char* slot = slots[text.starts_with('b') ? 1 : 0];
    if (!disk().state.names.contains(slot)) return;
    std::string content = *disk().state.content(slot);
    const auto place = static_cast<size_t>(leading_int(text.substr(1)));
    if (place >= content.size()) return;
    const bool was_good = nvram::decode(content).number != 0;
    content[place] = static_cast<char>(content[place] ^ 1);
    disk().rewrite_in_place(slot, content);
    // A second flip of the same bit repairs the first.
    expect(!was_good || nvram::decode(content).number == 0,
           "one wrong bit invalidates a generation");
    // Only the other slot may still have a generation.
    nvram::Store store(nvram::places_below(""));
    const std::optional<std::string> left = store.flash_image();
    if (left)
        model.flash = read_settings(*left);
    else
        for (const char* other : slots) disk().state.names.erase(other);
    if (!left) model.flash.reset();
}

// The store fails at one system call and leaves the old or the new settings.
void set_with_failure(Model& model, const std::string& key, int at) {
    if (!model.working || !nvram::valid_key(key)) return;
    disk().fail_at = disk().operations + at;
    disk().fail_with = ENOSPC;
    const int result = nvram_zel_set(key.c_str(), "failing");
    disk().fail_at = 0;
    if (result == 0) (*model.working)[key] = "failing";
    expect_value(model, key);
}

void call(Model& model, nvram::Store& store, std::string_view line) {
    const char what = line[0];
    const std::string text(line.substr(1));
    std::string_view rest = text;
    const std::string key(take_field(rest, '='));
    if (what == 's') set(model, key, std::string(rest));
    if (what == 'u') set(model, key, std::nullopt);
    if (what == 'g') expect_value(model, key);
    if (what == 'l') load(model);
    if (what == 'c') commit(model);
    if (what == 'i') import(model, store, image_of(text), false);
    if (what == 'r') import(model, store, image_of(text), true);
    if (what == 'e') save(model, store);
    if (what == 'd') damage(model, text.empty() ? "a" : text);
    if (what == 'f') set_with_failure(model, key, 1 + static_cast<int>(rest.size() % 12));
    if (what == 'w') {
        disk().state.place(working_path, image_of(text));
        model.working = read_settings(image_of(text));
        std::vector<nvram::BadLine> bad_lines;
        const nvram::Image image(image_of(text), &bad_lines);
        model.damaged = !bad_lines.empty();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    std::erase(text, '\0');
    SimulatedDisk::reset().state.place("/etc/default", factory_settings);
    Model model;
    {
        nvram::Store store(nvram::places_below(""));
        for (std::string_view rest = text; !rest.empty();)
            if (const std::string_view line = take_field(rest, '\n'); !line.empty())
                call(model, store, line);
        const nvram::Image* image = store.working();
        expect((image != nullptr) == model.working.has_value(), "the working copy exists or not");
        if (image) expect(read_settings(image->text()) == *model.working, "all settings");
    }
    expect(disk().open_files() <= 1, "only the library's own file stays open");
    return 0;
}
