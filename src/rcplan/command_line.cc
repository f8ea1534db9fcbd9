// rcplan's command line: every verb with its options. The only file that includes the CLI library's
// header, which takes longer to compile than the rest of rcplan.

#include "rcplan/command_line.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "plan/router/transcript.h"
#include "rcplan/files.h"
#include "rcplan/verbs.h"

namespace {

void add_router_options(CLI::App& command, RouterOptions& options) {
    command
        .add_option("--settings", options.settings_file,
                    "the router's settings: a text file with one key=value per line")
        ->type_name("FILE");
    command.add_option("--set", options.sets, "adds a setting, or replaces the file's value")
        ->type_name("K=V")
        ->take_all()
        ->expected(1)
        ->allow_extra_args(false);
    command
        .add_option("--world", options.world_file,
                    "the rest of the router: interfaces, processes, files, clock (rcplan(1))")
        ->type_name("FILE");
    command.add_option("--clock", options.clock, "the time on the router, in UTC")
        ->type_name("'YYYY-MM-DD HH:MM:SS'")
        ->take_last();
}

void add_secrets_option(CLI::App& command, bool& shown) {
    command.add_flag("--show-secrets", shown,
                     "shows passwords and keys, which are masked otherwise");
}

void add_colour_option(CLI::App& command, std::string& choice) {
    command.add_option("--color", choice, "auto, always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}));
}

void add_words(CLI::App& command, std::vector<std::string>& words) {
    command.positionals_at_end();
    command.add_option("WORDS", words, "rc's arguments, for example: lan start")
        ->type_name("")
        ->required();
}

void add_run(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "run", "prints every command, pause, file and setting of an rc run, in order");
    const auto options = std::make_shared<RunOptions>();
    add_router_options(*command, options->router);
    command->add_flag("--why", options->why,
                      "below each line, the settings and router facts that it depends on");
    CLI::Option* json = command->add_flag("--json", options->json, "one JSON object per line");
    command->add_flag("--case", options->as_case, "prints a case file for the tests")
        ->excludes(json);
    command
        ->add_option(
            "--files", options->files,
            "writes the produced files below this directory, with their secrets; files that "
            "it makes are readable by their owner only")
        ->type_name("DIR");
    add_secrets_option(*command, options->show_secrets);
    add_colour_option(*command, options->colour);
    add_words(*command, options->words);
    command->callback([options, &status] { status = run_verb(*options); });
}

void add_diff(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "diff",
        "shows the effect of changing settings A to B: with WORDS, the lines of that rc run that "
        "change, each with the settings that cause it; without WORDS, the restarts that a router "
        "running with A needs");
    const auto options = std::make_shared<DiffOptions>();
    command->positionals_at_end();
    command
        ->add_option(
            "--world", options->world_file,
            "the rest of the router (rcplan(1)); default without WORDS: running with A, Internet "
            "side up")
        ->type_name("FILE");
    command->add_flag("--json", options->json, "one JSON object per line");
    add_secrets_option(*command, options->show_secrets);
    add_colour_option(*command, options->colour);
    command->add_option("A", options->a, "old settings: a text file with one key=value per line")
        ->type_name("")
        ->required();
    command->add_option("B", options->b, "new settings")->type_name("")->required();
    command->add_option("WORDS", options->words, "rc's arguments, for example: dhcpd restart")
        ->type_name("");
    command->callback([options, &status] { status = diff_verb(*options); });
}

void add_sinks(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("sinks", "shows where setting values end up: commands, scripts, files");
    const auto options = std::make_shared<SinksOptions>();
    add_router_options(*command, options->router);
    command
        ->add_option("--case", options->cases,
                     "case files to play in addition to every action with these settings")
        ->type_name("CASE");
    command
        ->add_option(
            "--table", options->table,
            "prints rows for nvram's tables, sinks, uses or restarts, or rc-bundle's files")
        ->check(CLI::IsMember({"sinks", "uses", "restarts", "files"}));
    command->add_option("KEY", options->keys, "only these settings")->type_name("");
    command->callback([options, &status] { status = sinks_verb(*options); });
}

void add_report(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "report", "writes an rc run as one HTML page, with the settings behind each line");
    const auto options = std::make_shared<ReportOptions>();
    add_router_options(*command, options->router);
    command->add_option("FILE", options->page, "the HTML file to write")->type_name("")->required();
    command->add_option("WORDS", options->words, "rc's arguments, for example: lan start")
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
    {"--proto", &PacketOptions::protocol, "P",
     "protocol: tcp, udp, icmp, another name or a number"},
    {"--src", &PacketOptions::source, "ADDRESS", "source address"},
    {"--dst", &PacketOptions::destination, "ADDRESS", "destination address"},
    {"--sport", &PacketOptions::source_port, "PORT", "source port"},
    {"--dport", &PacketOptions::destination_port, "PORT", "destination port"},
    {"--in", &PacketOptions::in, "IF", "incoming interface"},
    {"--out", &PacketOptions::out, "IF", "outgoing interface"},
    {"--state", &PacketOptions::state, "STATE",
     "connection state: new, established, related or invalid"},
    {"--flags", &PacketOptions::flags, "FLAGS", "TCP flags, for example SYN,ACK"},
    {"--mss", &PacketOptions::mss, "N", "maximum segment size announced in a SYN"},
    {"--icmp-type", &PacketOptions::icmp_type, "TYPE", "ICMP type: a name or a number"},
    {"--mac-source", &PacketOptions::mac_source, "MAC", "source MAC address on the last link"},
    {"--mac-dest", &PacketOptions::mac_dest, "MAC", "destination MAC address on the last link"},
    {"--mark", &PacketOptions::mark, "N", "firewall mark on arrival"},
    {"--string", &PacketOptions::payload, "TEXT", "payload, or a part of it"},
};

void add_packet(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "packet", "shows what the firewall does with a packet, and which rule and settings decide");
    const auto options = std::make_shared<PacketVerbOptions>();
    add_router_options(*command, options->router);
    command
        ->add_option("--wan-address", options->wan_address,
                     "the WAN interface's address, if the world file states none")
        ->type_name("ADDRESS");
    for (const TextOption& option : text_options)
        command->add_option(option.name, options->packet.*option.text, option.description)
            ->type_name(option.type);
    command->add_flag("--syn", options->packet.syn, "same as --flags SYN");
    command->add_flag("--from-router", options->packet.from_router, "sent by the router itself");
    command->add_flag("--over-limit", options->packet.over_limit,
                      "exceeds the limits of rules that have one");
    command->add_flag("--not-drawn", options->packet.not_drawn,
                      "does not match rules with a random choice");
    command->add_flag("--json", options->json, "one JSON object");
    command->add_flag("--no-why", options->no_why, "omits the settings behind the rules; faster");
    command
        ->add_option("WORDS", options->words,
                     "arguments of the rc run that sets up the firewall (default: firewall start)")
        ->type_name("");
    command->positionals_at_end();
    command->footer("Exit status: 0 accepted, 1 dropped, 2 unknown verdict or usage error.");
    command->callback([options, &status] { status = packet_verb(*options); });
}

void add_exposure(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "exposure",
        "shows what the firewall lets in, what is never used, and what gets past blocks");
    const auto options = std::make_shared<ExposureOptions>();
    add_router_options(*command, options->router);
    command
        ->add_option("--wan-address", options->wan_address,
                     "the WAN interface's address, if the world file states none")
        ->type_name("ADDRESS");
    command
        ->add_option("--from", options->from,
                     "where connections start: wan, lan or an interface (default: wan)")
        ->type_name("IF");
    command
        ->add_option("--expect", options->expect,
                     "checks the statements of a file instead, one a line (rcplan(1))")
        ->type_name("FILE");
    command->add_flag("--json", options->json, "one JSON object a line");
    command
        ->add_option("WORDS", options->words,
                     "arguments of the rc run that sets up the firewall (default: firewall start)")
        ->type_name("");
    command->positionals_at_end();
    command->footer(
        "Exit status: 0 done, or all statements hold; 1 a statement does not; 2 usage error, or a"
        " rule that is not understood.");
    command->callback([options, &status] { status = exposure_verb(*options); });
}

void add_inspect(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "inspect", "shows what is not as rc would have made it on a router, from its archive");
    const auto options = std::make_shared<InspectOptions>();
    CLI::Option* const bundle =
        command
            ->add_option(
                "BUNDLE", options->bundle,
                "the archive that 'nvram bundle' wrote on the router; - for standard input")
            ->type_name("");
    command
        ->add_option(
            "--live", options->live,
            "a command that writes the archive instead: 'ssh root@192.168.1.1 nvram bundle'")
        ->type_name("COMMAND")
        ->excludes(bundle);
    command->add_option("--report", options->page, "writes the same as an HTML page too")
        ->type_name("FILE");
    command
        ->add_option("--settings", options->settings,
                     "writes the router's settings too, with stand-ins for secrets")
        ->type_name("FILE");
    command->add_flag("--json", options->json, "one JSON object a line");
    command->footer(
        "Exit status: 0 nothing deviates; 1 something does; 2 usage error, or an archive that cannot"
        " be read.");
    command->callback([options, &status] { status = inspect_verb(*options); });
}

void add_check(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("check", "plays case files and compares the transcripts");
    const auto options = std::make_shared<CheckOptions>();
    CLI::Option* update =
        command->add_flag("--update", options->update,
                          "replaces the expected transcripts by the actual ones; review the diff");
    command->add_flag("--whole", options->whole, "prints whole cases without playing them")
        ->excludes(update);
    command->add_option("CASE", options->cases, "case files")->type_name("")->required();
    command->callback([options, &status] { status = check_verb(*options); });
}

// Names the command, or what was typed in its place: CLI11 only says that one is required.
std::string usage_problem(const CLI::App& app, const CLI::ParseError& error, int argc,
                          char** argv) {
    if (!app.get_subcommands().empty())
        return app.get_subcommands().front()->get_name() + ": " + error.what();
    std::string names;
    std::string typed;
    for (int i = 1; i < argc && typed.empty(); i++)
        if (*argv[i] != '-') typed = argv[i];
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (command->get_name() == typed) return error.what();
        names += (names.empty() ? "" : ", ") + command->get_name();
    }
    if (!typed.empty())
        return "'" + escape_line(typed) + "' is not a command; the commands are " + names;
    if (argc > 1) return "'" + escape_line(argv[1]) + "' is not an option of rcplan";
    return "a command is missing; the commands are " + names;
}

}  // namespace

std::unique_ptr<CLI::App> command_line(int& status) {
    auto app = std::make_unique<CLI::App>("Shows what the router's rc would do, without doing it.",
                                          "rcplan");
    app->set_version_flag("--version", "rcplan " RC_VERSION);
    app->require_subcommand(1);
    app->footer(
        "Exit status: 0 done, 1 difference found, 2 usage error or unreadable file.\n"
        "rcplan COMMAND --help lists a command's options; rcplan(1) describes everything.");
    add_run(*app, status);
    add_diff(*app, status);
    add_sinks(*app, status);
    add_report(*app, status);
    add_packet(*app, status);
    add_exposure(*app, status);
    add_inspect(*app, status);
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
        complain(usage_problem(*app, error, argc, argv));
        std::cerr << "Try: rcplan --help, or rcplan COMMAND --help\n";
        return status_wrong_use;
    }
    return status;
}
