// The settings store of the recording platform: the six functions of nvram/libnvram.h over the
// world's files.

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "core/text.h"
#include "libnvram/image.h"
#include "libnvram/libnvram.h"
#include "plan/router/recording.h"
#include "plan/router/settings.h"

namespace {

// The text returned by nvram_zel_get and __nvram_get_fun; it lives until the next call.
std::string lent;

// An image, parsed. The last one is cached, because rc reads many settings of one. Only put() and
// apply_file_effect() change an image, and both make a new text.
const nvram::Image& parsed_image(const std::shared_ptr<std::string>& text) {
    static std::shared_ptr<const std::string> known_text;
    static nvram::Image known;
    if (text != known_text) {
        known = nvram::Image(*text);
        known_text = text;
    }
    return known;
}

void note_asked(const char* key) {
    Recording& played = recording();
    played.inputs.insert({.kind = Input::Kind::Setting, .name = key});
    if (played.transcript.depth == 0) played.own_settings.insert(key);
}

std::optional<std::string> find(const char* key, const std::string& path) {
    const auto text = recording().world.files.find(path);
    if (!key || text == recording().world.files.end()) return std::nullopt;
    note_asked(key);
    if (call_fails(Fallible::SettingGet, EIO)) return std::nullopt;
    const std::optional<std::string_view> value = parsed_image(text->second).get(key);
    if (!value) return std::nullopt;
    return std::string(*value);
}

char* hand_out(const std::optional<std::string>& value) {
    if (!value) return nullptr;
    lent = *value;
    return lent.data();
}

}  // namespace

int nvram_zel_load() {
    Recording& played = recording();
    World& world = played.world;
    const std::string* image = world.get(flash_image);
    if (!image) image = world.get(factory_image);
    played.inputs.insert({.kind = Input::Kind::Flash, .name = ""});
    const bool loads = image && !call_fails(Fallible::SettingsLoad, EIO);
    played.transcript.add("load", loads ? "" : "failed");
    if (!loads) return -1;
    world.put(working_copy, settings_image(read_settings(*image)));
    return 0;
}

char* nvram_zel_get(const char* key) {
    return hand_out(find(key, working_copy));
}

char* nvram_zel_safe_get(const char* key) {
    return strdup(find(key, working_copy).value_or("").c_str());
}

int nvram_zel_set(const char* key, const char* value) {
    Recording& played = recording();
    played.transcript.add("set", format("%s=%s", key, value));
    if (played.transcript.depth == 0) played.own_settings.insert(key);
    const std::string* text = played.world.get(working_copy);
    if (call_fails(Fallible::SettingSet, ENOSPC) || !text) return -1;
    played.world.put(working_copy, changed_image(*text, {{key, value}}));
    return 0;
}

int nvram_zel_commit() {
    Recording& played = recording();
    played.transcript.add("commit", "");
    const std::string* text = played.world.get(working_copy);
    if (call_fails(Fallible::SettingsCommit, EIO) || !text) return -1;
    played.world.put(flash_image, *text);
    return 0;
}

char* __nvram_get_fun(const char* key, const char* path) {
    return hand_out(find(key, path));
}
