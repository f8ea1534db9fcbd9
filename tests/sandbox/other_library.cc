// A minimal settings library of a platform, used instead of ours: every setting's value is its own
// name, and there is nothing to load.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "libnvram/libnvram.h"

namespace {

char kept[256];

bool is_set(const char* key) {
    return strcmp(key, "http_realm") != 0 && strcmp(key, "http_password") != 0;
}

}  // namespace

int nvram_zel_load() {
    return -1;
}

char* nvram_zel_get(const char* key) {
    if (!is_set(key)) return nullptr;
    snprintf(kept, sizeof kept, "other-%s", key);
    return kept;
}

char* nvram_zel_safe_get(const char* key) {
    const char* value = nvram_zel_get(key);
    return strdup(value ? value : "");
}

int nvram_zel_set(const char* key, const char* value) {
    return key && value ? 0 : -1;
}

int nvram_zel_commit() {
    return 0;
}

char* __nvram_get_fun(const char* key, const char* path) {
    return path ? nvram_zel_get(key) : nullptr;
}
