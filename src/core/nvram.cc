// Settings: values read from the store.

#include "core/nvram.h"

#include <stdlib.h>
#include <string.h>

#include <utility>

#include "core/text.h"
#include "libnvram/libnvram.h"

Setting::Setting(char* owned) : text_(owned) {}

void Setting::Release::operator()(char* text) const {
    free(text);
}

int Setting::number() const {
    return leading_int(text());
}

Setting Setting::or_when_absent(const char* other) && {
    return text_ ? std::move(*this) : Setting(strdup(other));
}

Setting nvram_text(const char* key) {
    return Setting(nvram_zel_safe_get(key));
}

// The library owns these texts and may overwrite them at its next call, so they are copied at once.
Setting nvram_value(const char* key) {
    const char* kept = nvram_zel_get(key);
    return Setting(kept ? strdup(kept) : nullptr);
}

Setting nvram_image_text(const char* key, const char* path) {
    const char* kept = __nvram_get_fun(key, path);
    return Setting(kept ? strdup(kept) : nullptr);
}
