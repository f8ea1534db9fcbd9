// The check of settings with arbitrary settings. An input is a text image; settings that are not in
// it are the factory's.

#include <stdlib.h>

#include <algorithm>

#include "check/check.h"
#include "libnvram/image.h"
#include "libnvram/secret.h"
#include "values.h"

namespace {

// What must hold of the findings for any settings.
void expect_sound(const std::vector<nvram::Finding>& findings) {
    std::string_view before;
    for (const nvram::Finding& finding : findings) {
        if (finding.key < before) abort();
        before = finding.key;
        if (finding.problem.empty() || finding.effect.empty()) abort();
        const bool shown = !finding.value.empty() && finding.value != "********";
        if (shown && nvram::is_secret(finding.key)) abort();
        for (const std::string& text : {finding.problem, finding.effect, finding.fix})
            if (text.find('\n') != std::string::npos) abort();
    }
}

std::string factory_text() {
    std::string text;
    for (const nvram::KnownSetting* known : all_settings())
        text += nvram::serialise({{known->key, known->factory}});
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string factory = factory_text();
    // If a key is given twice, the last line counts.
    const std::string text = factory + std::string(reinterpret_cast<const char*>(data), size);
    expect_sound(nvram::check_settings(nvram::Image(text)));
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size,
                                          unsigned seed) {
    Random random(seed);
    Settings settings = read_settings({reinterpret_cast<const char*>(data), size});
    do mutate_setting(settings, one_of(random, all_settings())->key, random);
    while (one_in(random, 2));
    if (!settings.empty() && one_in(random, 2)) {
        const auto place =
            std::next(settings.begin(), static_cast<long>(below(random, settings.size())));
        const std::string key = place->first;
        mutate_setting(settings, key, random);
    }
    const std::string text = settings_image(settings);
    if (text.size() > max_size) return size;
    std::ranges::copy(text, data);
    return text.size();
}
