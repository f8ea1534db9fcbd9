// Prints the keys of the table of all settings, one a line.
#include <cstdio>

#include "settings/table.h"

int main() {
    for (const nvram::SettingGroup& group : nvram::setting_groups())
        for (const nvram::KnownSetting& setting : group.settings) std::puts(setting.key);
    return 0;
}
