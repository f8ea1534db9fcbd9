// rcplan's command line: every verb with its options. The only file that reads the library's
// header, which takes longer to compile than all the rest of rcplan.

#include "rcplan/command_line.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "rcplan/files.h"
#include "rcplan/verbs.h"

namespace {

void add_router_options(CLI::App& command, RouterOptions& options) {
    command
        .add_option("--settings", options.settings_file,
                    "the router's settings: a text image, one key=value a line")
        ->type_name("FILE");
    command
        .add_option("--set", options.sets,
                    "one setting more, or another value for one of the file's")
        ->type_name("K=V")
        ->take_all()
        ->expected(1)
        ->allow_extra_args(false);
    command
        .add_option("--world", options.world_file,
                    "the rest of the router: interfaces, processes, files, clock (rcplan(1))")
        ->type_name("FILE");
}

void add_colour_option(CLI::App& command, std::string& choice) {
    command.add_option("--color", choice, "auto, always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}));
}

void add_words(CLI::App& command, std::vector<std::string>& words) {
    command.positionals_at_end();
    command.add_option("WORDS", words, "what rc is called with, such as: lan start")
        ->type_name("")
        ->required();
}

void add_run(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "run", "prints every command, pause, file and setting of a call of rc, in order");
    const auto options = std::make_shared<RunOptions>();
    add_router_options(*command, options->router);
    command->add_flag("--why", options->why,
                      "behind each line, the settings and facts of the router that it comes from");
    CLI::Option* json = command->add_flag("--json", options->json, "one JSON object a line");
    command->add_flag("--case", options->as_case, "as a case file, ready for the tests")
        ->excludes(json);
    command->add_option("--files", options->files, "writes the produced files below a folder")
        ->type_name("DIR");
    add_colour_option(*command, options->colour);
    add_words(*command, options->words);
    command->callback([options, &status] { status = run_verb(*options); });
}

void add_diff(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "diff",
        "what settings B change in effect: of one call of rc, line by line with the settings "
        "behind it; without WORDS, the restarts that a router running with A needs");
    const auto options = std::make_shared<DiffOptions>();
    command->positionals_at_end();
    command
        ->add_option(
            "--world", options->world_file,
            "the rest of the router (rcplan(1)); where only restarts are asked for, it is in use "
            "unless stated")
        ->type_name("FILE");
    command->add_flag("--json", options->json, "one JSON object a line");
    add_colour_option(*command, options->colour);
    command->add_option("A", options->a, "settings: a text image, one key=value a line")
        ->type_name("")
        ->required();
    command->add_option("B", options->b, "other settings")->type_name("")->required();
    command->add_option("WORDS", options->words, "what rc is called with, such as: dhcpd restart")
        ->type_name("");
    command->callback([options, &status] { status = diff_verb(*options); });
}

void add_sinks(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "sinks", "shows where the texts of settings end up: commands, scripts, files");
    const auto options = std::make_shared<SinksOptions>();
    add_router_options(*command, options->router);
    command
        ->add_option("--case", options->cases,
                     "case files to play besides every action with these settings")
        ->type_name("CASE");
    command->add_option("--table", options->table, "as rows for nvram's tables: sinks or uses")
        ->check(CLI::IsMember({"sinks", "uses"}));
    command->add_option("KEY", options->keys, "these settings only")->type_name("");
    command->callback([options, &status] { status = sinks_verb(*options); });
}

void add_report(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "report", "writes a call of rc as one HTML page, with the settings behind each line");
    const auto options = std::make_shared<ReportOptions>();
    add_router_options(*command, options->router);
    command->add_option("FILE", options->page, "where the page is written")
        ->type_name("")
        ->required();
    command->add_option("WORDS", options->words, "what rc is called with, such as: lan start")
        ->type_name("")
        ->required();
    command->callback([options, &status] { status = report_verb(*options); });
}

struct TextOption {
    const char* name;
    std::string PacketOptions::*text;
    const char* type;
    const char* description;
};
constexpr TextOption text_options[] = {
    {"--proto", &PacketOptions::protocol, "P", "tcp, udp, icmp, another name or a number"},
    {"--src", &PacketOptions::source, "ADDRESS", "where it comes from"},
    {"--dst", &PacketOptions::destination, "ADDRESS", "where it goes to"},
    {"--sport", &PacketOptions::source_port, "PORT", "the port that it comes from"},
    {"--dport", &PacketOptions::destination_port, "PORT", "the port that it goes to"},
    {"--in", &PacketOptions::in, "IF", "the interface that it comes in by"},
    {"--out", &PacketOptions::out, "IF", "the interface that it leaves by"},
    {"--state", &PacketOptions::state, "STATE", "new, established, related or invalid"},
    {"--flags", &PacketOptions::flags, "FLAGS", "TCP flags, such as SYN,ACK"},
    {"--mss", &PacketOptions::mss, "N", "the segment size that a SYN announces"},
    {"--icmp-type", &PacketOptions::icmp_type, "TYPE", "a name or a number"},
    {"--mac-source", &PacketOptions::mac_source, "MAC", "who sent it on the last link"},
    {"--mac-dest", &PacketOptions::mac_dest, "MAC", "whom it was sent to on the last link"},
    {"--mark", &PacketOptions::mark, "N", "the kernel's mark that it has already"},
    {"--string", &PacketOptions::payload, "TEXT", "what it carries, or a part of it"},
};

void add_packet(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "packet", "tells what the firewall does with a packet, and which rule and settings decide");
    const auto options = std::make_shared<PacketVerbOptions>();
    add_router_options(*command, options->router);
    command
        ->add_option("--wan-address", options->wan_address,
                     "the address of the WAN's interface, where no world states it")
        ->type_name("ADDRESS");
    for (const TextOption& option : text_options)
        command->add_option(option.name, options->packet.*option.text, option.description)
            ->type_name(option.type);
    command->add_flag("--syn", options->packet.syn, "--flags SYN");
    command->add_flag("--from-router", options->packet.from_router, "the router itself sends it");
    command->add_flag("--over-limit", options->packet.over_limit,
                      "it is beyond the limits of rules that have one");
    command->add_flag("--not-drawn", options->packet.not_drawn,
                      "rules that leave it to chance do not take it");
    command->add_flag("--json", options->json, "one JSON object");
    command->add_flag("--no-why", options->no_why,
                      "without the settings behind the rules, which take the time");
    command
        ->add_option("WORDS", options->words,
                     "what rc is called with before, if not: firewall start")
        ->type_name("");
    command->positionals_at_end();
    command->footer("Exit status: 0 accepted, 1 dropped, 2 unknown or wrong use.");
    command->callback([options, &status] { status = packet_verb(*options); });
}

void add_check(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("check", "plays case files and compares the transcripts");
    const auto options = std::make_shared<CheckOptions>();
    CLI::Option* update =
        command->add_flag("--update", options->update,
                          "rewrites the expectations with what came out; read that diff");
    command->add_flag("--whole", options->whole, "prints the cases whole, and plays nothing")
        ->excludes(update);
    command->add_option("CASE", options->cases, "case files")->type_name("")->required();
    command->callback([options, &status] { status = check_verb(*options); });
}

}  // namespace

std::unique_ptr<CLI::App> command_line(int& status) {
    auto app = std::make_unique<CLI::App>("Shows what the router's rc would do, without doing it.",
                                          "rcplan");
    app->set_version_flag("--version", "rcplan " RC_VERSION);
    app->require_subcommand(1);
    app->footer(
        "Exit status: 0 done, 1 something differs, 2 wrong use or an unreadable file.\n"
        "rcplan COMMAND --help tells a command's options; rcplan(1) tells the rest.");
    add_run(*app, status);
    add_diff(*app, status);
    add_sinks(*app, status);
    add_report(*app, status);
    add_packet(*app, status);
    add_check(*app, status);
    return app;
}

int run_command_line(int argc, char** argv) {
    int status = status_done;
    const std::unique_ptr<CLI::App> app = command_line(status);
    try {
        app->parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app->exit(error);
        complain(error.what());
        std::cerr << "Try: rcplan --help, or rcplan COMMAND --help\n";
        return status_wrong_use;
    }
    return status;
}
