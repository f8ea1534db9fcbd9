// The six C functions of libnvram.so over one store per process.
#include "libnvram/libnvram.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "libnvram/store.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

struct Library {
    nvram::Store store{nvram::places_below(nvram::library_root())};
    nvram::Image named;  // the file that __nvram_get_fun read last
};

// Created at the first call, so that nothing runs before main, and never freed.
Library& library() {
    static Library* const only = new Library;
    return *only;
}

// The C interface returns char*, but the values belong to the image and callers do not write to
// them.
char* lend(std::optional<std::string_view> value) {
    return value ? const_cast<char*>(value->data()) : nullptr;
}

}  // namespace

EXPORTED int nvram_zel_load() {
    return library().store.load() ? 0 : -1;
}

EXPORTED char* nvram_zel_get(const char* key) {
    const std::size_t length = key != nullptr ? std::strlen(key) : SIZE_MAX;
    if (length > nvram::key_limit) return nullptr;
    // The key may be in the image that this call replaces.
    char asked[nvram::key_limit + 1];
    std::memcpy(asked, key, length + 1);
    const nvram::Image* const image = library().store.working_around(asked);
    return image != nullptr ? lend(image->get(asked)) : nullptr;
}

EXPORTED char* nvram_zel_safe_get(const char* key) {
    const char* const value = nvram_zel_get(key);
    char* const copy = strdup(value != nullptr ? value : "");
    if (copy == nullptr) std::abort();
    return copy;
}

EXPORTED int nvram_zel_set(const char* key, const char* value) {
    const std::string_view new_value = value != nullptr ? std::string_view(value) : nvram::no_value;
    return library().store.set({key != nullptr ? key : "", new_value}) ? 0 : -1;
}

EXPORTED int nvram_zel_commit() {
    return library().store.commit() ? 0 : -1;
}

EXPORTED char* __nvram_get_fun(const char* key, const char* path) {
    if (key == nullptr || path == nullptr) return nullptr;
    std::string text;
    if (!library().store.read_file(path, nvram::image_limit, text)) return nullptr;
    // The key and the path may point into the image read before, so that is replaced last.
    nvram::Image image(std::move(text));
    const std::optional<std::string_view> value = image.get(key);
    library().named = std::move(image);
    return lend(value);
}
