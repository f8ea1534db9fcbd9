// Arbitrary values in the check of settings. Each line is a setting, which its first byte selects,
// and a value; all other settings are the factory's.

#include <stdlib.h>

#include "nvram/check.h"
#include "nvram/known_settings.h"
#include "nvram/secret.h"

namespace {

std::vector<const nvram::KnownSetting*> all_settings() {
    std::vector<const nvram::KnownSetting*> all;
    for (const nvram::SettingGroup& group : nvram::setting_groups())
        for (const nvram::KnownSetting& known : group.settings) all.push_back(&known);
    return all;
}

// What must hold of findings, whatever the settings are.
void expect_sound(const std::vector<nvram::Finding>& findings) {
    std::string_view before;
    for (const nvram::Finding& finding : findings) {
        if (finding.key < before) abort();
        before = finding.key;
        if (finding.problem.empty() || finding.effect.empty()) abort();
        const bool shown = !finding.value.empty() && finding.value != "********";
        if (shown && nvram::is_secret(finding.key)) abort();
        for (const std::string& text : {finding.problem, finding.effect, finding.cure})
            if (text.find('\n') != std::string::npos) abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::vector<const nvram::KnownSetting*> all = all_settings();
    std::string text;
    for (const nvram::KnownSetting* known : all)
        text += nvram::serialise({{known->key, known->factory}});
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        if (line.empty()) continue;
        const auto selected = static_cast<unsigned char>(line[0]);
        text += all[selected % all.size()]->key;
        text += '=';
        text += line.substr(1);
        text += '\n';
    }
    expect_sound(nvram::check_settings(nvram::Image(text)));
    return 0;
}
