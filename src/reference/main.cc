// rc_reference: prints what is generated from the table of all settings.
#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <exception>
#include <string>

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

int print(const std::string& name) {
    const Reference reference = {.groups = nvram::setting_groups(), .uses = nvram::setting_uses()};
    for (const Page& page : pages)
        if (name == page.name) std::fputs(page.text(reference).c_str(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        CLI::App app("Prints what is generated from the table of all settings.", "rc_reference");
        std::vector<std::string> names;
        for (const Page& page : pages) names.emplace_back(page.name);
        std::string name;
        app.add_option("PAGE", name, "what to print")->required()->check(CLI::IsMember(names));
        CLI11_PARSE(app, argc, argv);
        return print(name);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "rc_reference: %s\n", error.what());
        return 1;
    }
}
