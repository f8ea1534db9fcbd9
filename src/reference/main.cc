// rc_reference: prints what is generated from the table of all settings.
#include <array>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include "reference/reference.h"

namespace {

std::string completion(const Reference& reference) {
    const std::array programs = {nvram_program(), rcplan_program()};
    return bash_completion(reference, programs);
}

struct Page {
    const char* name;
    std::string (*text)(const Reference& reference);
};

constexpr Page pages[] = {
    {.name = "settings.md", .text = settings_markdown},
    {.name = "settings.5", .text = settings_man_page},
    {.name = "schema", .text = settings_schema},
    {.name = "secret", .text = secret_beginnings},
    {.name = "completion", .text = completion},
};

int print(const Page& page) {
    const Reference reference = {.groups = nvram::setting_groups(), .uses = nvram::setting_uses()};
    std::fputs(page.text(reference).c_str(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

int usage_error() {
    std::fputs("usage: rc_reference PAGE\nPAGE is one of:", stderr);
    for (const Page& page : pages) std::fprintf(stderr, " %s", page.name);
    std::fputs("\n", stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return usage_error();
    const std::string_view name = argv[1];
    for (const Page& page : pages) {
        if (name != page.name) continue;
        try {
            return print(page);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "rc_reference: %s: %s\n", page.name, error.what());
            return 1;
        }
    }
    std::fprintf(stderr, "rc_reference: no such page: %s\n", argv[1]);
    return usage_error();
}
