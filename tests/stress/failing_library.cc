// A platform's settings library that fails: it never stores, commits or loads, and from the nth
// call on (STRESS_FAILING_FROM, counted over a run) it returns no value. Earlier calls return the
// working copy's values.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "libnvram/libnvram.h"

namespace {

char kept[65536];

bool fails_now() {
    static long calls = 0;
    const char* from = getenv("STRESS_FAILING_FROM");
    return ++calls >= (from ? atol(from) : 1);
}

char* value_in(const char* path, const char* key) {
    FILE* image = fopen(path, "r");
    if (!image) return nullptr;
    char* found = nullptr;
    const size_t length = strlen(key);
    while (!found && fgets(kept, sizeof kept, image)) {
        if (strncmp(kept, key, length) != 0 || kept[length] != '=') continue;
        kept[strcspn(kept, "\n")] = '\0';
        found = kept + length + 1;
    }
    fclose(image);
    return found;
}

}  // namespace

int nvram_zel_load() {
    return -1;
}

char* nvram_zel_get(const char* key) {
    return fails_now() ? nullptr : value_in("/tmp/nvram", key);
}

// Our library never returns null here; a failing one may.
char* nvram_zel_safe_get(const char* key) {
    const char* value = nvram_zel_get(key);
    return value ? strdup(value) : nullptr;
}

int nvram_zel_set(const char*, const char*) {
    return -1;
}

int nvram_zel_commit() {
    return -1;
}

char* __nvram_get_fun(const char* key, const char* path) {
    return fails_now() ? nullptr : value_in(path, key);
}
