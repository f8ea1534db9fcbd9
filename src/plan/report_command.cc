// rcplan report: a call of rc as a page.

#include <iostream>
#include <memory>

#include "plan/commands.h"
#include "plan/report.h"

namespace {

struct Options {
    RouterOptions router;
    std::string page;
    std::vector<std::string> words;
};

int report(const Options& options) {
    const std::vector<std::string> words = rc_words(options.words);
    const std::optional<World> router = stated_router(options.router, words);
    if (!router) return status_wrong_use;
    const Plan plan = make_plan(*router, words);
    return write_file(options.page, report_html(plan, trace(plan))) ? status_done
                                                                    : status_wrong_use;
}

}  // namespace

void add_report(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "report", "writes a call of rc as one HTML page, with the settings behind each line");
    const auto options = std::make_shared<Options>();
    add_router_options(*command, options->router);
    command->add_option("FILE", options->page, "where the page is written")
        ->type_name("")
        ->required();
    command->add_option("WORDS", options->words, "what rc is called with, such as: lan start")
        ->type_name("")
        ->required();
    command->callback([options, &status] { status = report(*options); });
}
