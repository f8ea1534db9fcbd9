// Plays the starts in the boot's order.

#include "plan/inspect/expected.h"

#include <algorithm>

#include "core/text.h"
#include "plan/inspect/daemons.h"
#include "plan/netfilter/packet_values.h"
#include "rc/apps.h"

namespace {

constexpr const char* resolver_file = "/etc/resolv.conf";
constexpr const char* link_marker = "/tmp/wan_uptime";
// What rc lets route(8) print, to see whether there is a gateway.
constexpr const char* gateway_file = "/tmp/gw_route";
// The flash partition with the board's addresses; what is in it does not matter.
constexpr const char* board_data = "/dev/mtd0";
constexpr size_t board_data_size = 0x30000;

// The effect of `ifconfig IF ADDRESS` and of `ifconfig IF mtu N` on what rc reads later.
void apply_ifconfig(World& world, const std::vector<std::string>& words) {
    if (words.size() < 3 || !world.interfaces.contains(words[1])) return;
    World::Interface& interface = world.interfaces[words[1]];
    if (read_address(words[2]).value_or(0) != 0) interface.address = words[2];
    for (size_t i = 2; i + 1 < words.size(); i++)
        if (words[i] == "mtu")
            interface.mtu = static_cast<int>(scan_number(words[i + 1].c_str()).value_or(0));
}

bool has_traces(const Step& step, const FoundRouter& found) {
    return std::ranges::any_of(step.plan.after.transcript.events(),
                               [&](const Event& event) {
                                   return event.verb == "write" && found.has_file(event.text);
                               }) ||
           std::ranges::any_of(step.commands, [&](const ExecutedCommand& executed) {
               const std::vector<std::string>& words = executed.command.words;
               const Daemon* const daemon = words.empty() ? nullptr : daemon_in(words[0]);
               return daemon && found.has_program(daemon->name);
           });
}

Step step_on(const World& router, const std::vector<std::string>& words) {
    Step step = {.plan = make_plan(router, words), .commands = {}};
    step.commands = executed_commands(step.plan.after.transcript, step.plan.before);
    return step;
}

}  // namespace

std::string Step::again() const {
    if (plan.words[1] == "init") return "switch the router off and on";
    return "rc " + plan.words[1] + " restart";
}

bool StepCommand::runs(std::string_view program) const {
    return !words().empty() && is_program(words()[0], program);
}

ExpectedRouter::ExpectedRouter(const FoundRouter& found)
    : after_(router_with(found.world(), found.settings, {"rc", "start"})),
      has_services_(found.has_file(link_marker) || found.has_file("/tmp/rules")) {
    // A lost marker is a deviation of its own.
    if (has_services_ && !found.has_file(link_marker)) after_.put(link_marker, "1.00 1.00\n");
    play_boot(found);
    if (found.is_access_point()) {
        play_access_point(found);
        return;
    }
    for (const rc_app* app = rc_apps; app->name; app++) {
        keep_unlinked_files({"rc", app->name, "start"});
        play({"rc", app->name, "start"});
    }
    play_wan(found);
    // The link's script writes it after the start, and the services read it.
    if (const auto servers = found.files.find(resolver_file); servers != found.files.end())
        after_.put(resolver_file, servers->second);
    // What depends on the link; before the first one, nobody has started it.
    if (has_services_)
        for (const rc_app* app = rc_services; app->name; app++) play({"rc", app->name, "start"});
}

// Its files are about the hardware, of which an archive says nothing.
void ExpectedRouter::play_boot(const FoundRouter& found) {
    World router = found.world();
    router.files.erase(working_copy);
    router.put(board_data, std::string(board_data_size, '1'));
    const std::vector<std::string> words = {"rc", "init"};
    steps_.push_back(step_on(router_with(router, found.flash_settings(), words), words));
}

// PPTP and L2TP over a leased address start in two steps: rc starts the DHCP client, whose script
// starts rc again when there is an address and a gateway. The tunnel then takes the gateway's
// place.
void ExpectedRouter::play_wan(const FoundRouter& found) {
    const std::vector<std::string> words = {"rc", "wan", "start"};
    const auto mode = found.settings.find("wan_mode");
    const bool in_steps = mode != found.settings.end() &&
                          (mode->second == "pptp" || mode->second == "l2tp") &&
                          found.has_program("udhcpc");
    if (!in_steps) return play(words);
    FoundRouter before = found;
    std::erase_if(before.processes,
                  [](const FoundProcess& process) { return process.name() == "udhcpc"; });
    after_.outputs = before.world().outputs;
    play(words);
    const bool fixed =
        std::ranges::none_of(steps_.back().commands, [](const ExecutedCommand& executed) {
            const std::vector<std::string>& command = executed.command.words;
            return !command.empty() && is_program(command[0], "udhcpc");
        });
    after_.outputs = found.world().outputs;
    if (fixed) return;
    after_.put(gateway_file, "0.0.0.0 0.0.0.0 0.0.0.0 UG\n");
    play(words);
}

// The boot script of an access point leaves out what its LAN has from the router, and an archive
// does not say what: an application counts as started if it has left a file or a daemon.
void ExpectedRouter::play_access_point(const FoundRouter& found) {
    play({"rc", "lan", "start"});
    for (const rc_app* app = rc_apps; app->name; app++) {
        const std::vector<std::string> words = {"rc", app->name, "start"};
        if (has_traces(step_on(after_, words), found)) play(words);
    }
}

// The boot starts an application before the link has told its name servers.
void ExpectedRouter::keep_unlinked_files(const std::vector<std::string>& words) {
    World before = copy_of(after_);
    before.files.erase(resolver_file);
    const Step step = step_on(before, words);
    for (const Event& event : step.plan.after.transcript.events())
        if (const std::string* const content = step.plan.after.world.get(event.text);
            content && event.verb == "write")
            unlinked_files_[event.text] = *content;
}

const std::string* ExpectedRouter::before_link(const std::string& path) const {
    const auto file = unlinked_files_.find(path);
    return file == unlinked_files_.end() ? nullptr : &file->second;
}

void ExpectedRouter::play(const std::vector<std::string>& words) {
    steps_.push_back(step_on(after_, words));
    const Step& step = steps_.back();
    World before = std::move(after_);
    after_ = copy_of(step.plan.after.world);
    // Pauses of one step are not seen by the next.
    after_.uptime_microseconds = before.uptime_microseconds;
    after_.clock_microseconds = before.clock_microseconds;
    after_.environment = before.environment;
    for (const ExecutedCommand& executed : step.commands)
        if (!executed.command.words.empty() && is_program(executed.command.words[0], "ifconfig"))
            apply_ifconfig(after_, executed.command.words);
}

std::vector<StepCommand> ExpectedRouter::commands() const {
    std::vector<StepCommand> all;
    for (const Step& step : steps_)
        for (const ExecutedCommand& executed : step.commands) all.push_back({&step, &executed});
    return all;
}

const Step* ExpectedRouter::writer_of(const std::string& path) const {
    const Step* writer = nullptr;
    for (const Step& step : steps_)
        for (const Event& event : step.plan.after.transcript.events())
            if ((event.verb == "write" || event.verb == "append" || event.verb == "run") &&
                (event.text == path || event.text.ends_with("> " + path) ||
                 event.text.ends_with(" " + path)))
                writer = &step;
    return writer;
}

Netfilter ExpectedRouter::rules() const {
    std::vector<ExecutedCommand> commands;
    for (const Step& step : steps_)
        commands.insert(commands.end(), step.commands.begin(), step.commands.end());
    return netfilter_after(commands);
}

const Step* ExpectedRouter::firewall() const {
    const auto found = std::ranges::find_if(
        steps_, [](const Step& step) { return step.plan.words[1] == "firewall"; });
    return found == steps_.end() ? nullptr : &*found;
}
