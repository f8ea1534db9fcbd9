// What is generated from the table of all settings.
#ifndef RC_REFERENCE_REFERENCE_H
#define RC_REFERENCE_REFERENCE_H

#include <span>
#include <string>

#include "reference/programs.h"
#include "settings/table.h"
#include "settings/uses.h"

struct Reference {
    std::span<const nvram::SettingGroup> groups;
    std::span<const nvram::Use> uses;
};

// docs/settings.md
std::string settings_markdown(const Reference& reference);

// docs/man/nvram-settings.5
std::string settings_man_page(const Reference& reference);

// docs/settings.schema.json: JSON Schema, draft 2020-12.
std::string settings_schema(const Reference& reference);

// src/libnvram/secret.inc
std::string secret_beginnings(const Reference& reference);

// completion/rc.bash
std::string bash_completion(const Reference& reference, std::span<const Program> programs);

#endif
