// Mutations of cases: they change the stated router, never the form of the file.

#include "case_mutator.h"

#include <map>

#include "plan/router/actions.h"
#include "plan/router/case.h"

namespace {

// The offset of the factory data; the partition before them is empty.
constexpr size_t factory_data_offset = 0x2FF70;
constexpr size_t factory_data_size = 0x2FFAA + 70 - factory_data_offset;

// Unusual or wrong command lines of rc.
const std::vector<std::string> odd_commands[] = {
    {"rc"},
    {"rc", "start"},
    {"rc", "stop"},
    {"rc", "restart"},
    {"rc", "create"},
    {"rc", "service", "start"},
    {"rc", "service", "stop"},
    {"rc", "service", "restart"},
    {"rc", "service", "create"},
    {"rc", "service"},
    {"rc", "wan"},
    {"rc", "wan", "create"},
    {"rc", "service", "start", "more"},
    {"rc", "start", "more"},
    {"busybox", "rc", "lan", "start"},
    {"rc", "init", "more"},
    {"rc", "", "start"},
    {"rc", "lan"},
    {"rc", "httpd", "reload"},
    {"rc", "no such", "start"},
    {"rc", "../../tmp/x", "start"},
    {"x", "y", "z"},
};

constexpr const char* files[] = {
    "/dev/mtd0",
    "/etc/crontab",
    "/etc/gateways",
    "/etc/resolv.conf",
    "/etc/version-ft",
    "/proc/mac",
    "/proc/uptime",
    "/tmp/cron_schedule",
    "/tmp/ddns_update.log",
    "/tmp/debug",
    "/tmp/gw_route",
    "/tmp/wan_uptime",
    "/tmp/wan_uptime1",
    "/var/RT2860AP.dat",
    "/var/run/my_pid",
    "/var/run/my_pid_service",
    "/var/run/my_pid_wan",
    "/var/run/rc.dhcpd.run",
    "/var/run/rc.wlan.run",
    "/var/udhcpd.leases",
};

constexpr const char* modes[] = {"r", "w", "a", "r+", "w", "pipe", "socket"};

constexpr const char* zones[] = {"UTC+0", "GMT-1", "GMT+5 b", "XX -7 2", "EST5EDT", ":x", ""};

// What runs with the same words had to do with their router.
struct KnownRun {
    std::set<Input> inputs;
    std::set<std::string> commands;
};

using KnownRuns = std::map<std::vector<std::string>, KnownRun>;
KnownRuns& known_runs() {
    static KnownRuns runs;
    return runs;
}

void mutate_flash(Case& stated, Random& random) {
    std::optional<Settings>& image = one_in(random, 2) ? stated.flash : stated.factory;
    if (one_in(random, 8)) {
        image.reset();
        return;
    }
    if (!image) image.emplace();
    mutate_setting(*image, one_of(random, all_settings())->key, random);
}

std::string flash_content(const std::string* before, Random& random) {
    std::string data;
    if (before && before->size() > factory_data_offset) data = before->substr(factory_data_offset);
    if (!before) data.assign(factory_data_size, '1');
    data = mutated_bytes(data, factory_data_size + 16);
    return std::string(one_in(random, 64) ? 0 : factory_data_offset, '\0') + data;
}

void mutate_file(World& world, const std::string& path, Random& random) {
    if (one_in(random, 8)) {
        world.files.erase(path);
        return;
    }
    const std::string* before = world.get(path);
    std::string content = before ? *before : "";
    if (path == "/dev/mtd0")
        content = flash_content(before, random);
    else if (one_in(random, 8))
        content = drawn_number(random) + "\n";
    else if (one_in(random, 16))
        content = repeated(content, random);
    else
        content = mutated_bytes(content, std::max<size_t>(2 * content.size(), 120));
    world.put(path, content);
}

void mutate_output(World& world, const std::string& line, Random& random) {
    constexpr const char* words[] = {"udhcpc", "pppd\n",  "bpalogin", "ras", "pptp",
                                     "l2tpd",  "0.0.0.0", "UG",       " ",   "\n"};
    std::string& output = world.outputs[line];
    if (one_in(random, 2))
        output += one_of(random, words);
    else if (one_in(random, 16))
        output = repeated(output, random);
    else
        output = mutated_bytes(output, std::max<size_t>(2 * output.size(), 64));
}

void mutate_interface(World& world, const std::string& name, Random& random) {
    if (one_in(random, 8)) {
        world.interfaces.erase(name);
        return;
    }
    constexpr int mtus[] = {68, 1400, 1492, 1500, 65535, INT_MAX};
    World::Interface& interface = world.interfaces[name];
    interface.mtu = one_of(random, mtus);
    interface.address.reset();
    if (!one_in(random, 4)) interface.address = drawn_address(random);
}

void mutate_clock(World& world, Random& random) {
    // Up to the last second that a case can state, 9999-12-31 23:59:59; mostly this century.
    constexpr long long last_second = 253'402'300'799;
    constexpr long long week = 604'800;
    const long long seconds = one_in(random, 8)
                                  ? static_cast<long long>(random()) * 118 % last_second
                                  : static_cast<long long>(below(random, 6000)) * week / 7 * 4;
    world.clock_microseconds = (seconds + static_cast<long long>(below(random, week))) * 1'000'000;
}

void mutate_host(World& world, const std::string& name, Random& random) {
    if (one_in(random, 4))
        world.hosts.erase(name);
    else
        world.hosts[name] = one_in(random, 4) ? "2001:db8::1" : drawn_address(random);
}

template <class Item>
const Item& one_in_set(Random& random, const std::set<Item>& items) {
    return *std::next(items.begin(), static_cast<long>(below(random, items.size())));
}

// A setting that the run reads, mostly.
std::string changing_key(const std::set<Input>& inputs, Random& random) {
    std::vector<std::string> keys;
    for (const Input& input : inputs)
        if (input.kind == Input::Kind::Setting) keys.push_back(input.name);
    if (keys.empty() || one_in(random, 8)) return one_of(random, all_settings())->key;
    return one_of(random, keys);
}

// Another program saves a setting while the run waits for a command.
void mutate_changes(Case& stated, const KnownRun& known, Random& random) {
    constexpr size_t most_changes = 4;
    std::vector<World::Change>& changes = stated.world.changes;
    if (!changes.empty() && (changes.size() >= most_changes || one_in(random, 3))) {
        changes.erase(changes.begin() + static_cast<long>(below(random, changes.size())));
        return;
    }
    if (known.commands.empty()) return;
    const std::string key = changing_key(known.inputs, random);
    Settings changed = stated.settings;
    mutate_setting(changed, key, random);
    changes.push_back({.after = one_in_set(random, known.commands),
                       .key = key,
                       .value = changed.contains(key) ? changed[key] : ""});
}

void answer_otherwise(Case& stated, const Input& input, Random& random) {
    World& world = stated.world;
    switch (input.kind) {
        case Input::Kind::Setting:
            mutate_setting(stated.settings, input.name, random);
            return;
        case Input::Kind::Flash:
            mutate_flash(stated, random);
            return;
        case Input::Kind::Address:
        case Input::Kind::Mac:
        case Input::Kind::Mtu:
            mutate_interface(world, input.name, random);
            return;
        case Input::Kind::Output:
            mutate_output(world, input.name, random);
            return;
        case Input::Kind::File:
            mutate_file(world, input.name, random);
            return;
        case Input::Kind::Host:
            mutate_host(world, input.name, random);
            return;
        case Input::Kind::Clock:
            mutate_clock(world, random);
            return;
        case Input::Kind::Uptime:
            world.uptime_microseconds = static_cast<long long>(random()) * 2 * 1'000'000;
            return;
        case Input::Kind::Pid:
            world.pid = 1 + static_cast<int>(below(random, 4194304));
            return;
    }
}

void mutate_command(Case& stated, Random& random) {
    static const std::vector<std::vector<std::string>> actions = all_actions();
    if (one_in(random, 16)) {
        for (std::string& word : stated.words)
            if (one_in(random, 2)) word = mutated_text(word);
        return;
    }
    stated.words = one_in(random, 3) ? one_of(random, odd_commands) : one_of(random, actions);
}

void deny(World& world, const std::set<Input>& inputs, Random& random) {
    if (!world.denied.empty() && one_in(random, 2)) {
        world.denied.clear();
        return;
    }
    std::string path = one_of(random, files);
    if (!inputs.empty() && one_in(random, 2)) path = one_in_set(random, inputs).name;
    if (one_in(random, 8))
        world.denied.insert({no_reader, one_in(random, 2) ? "w" : "closed"});
    else
        world.denied.insert({path, one_of(random, modes)});
}

}  // namespace

void remember_run(const std::vector<std::string>& words, const Recording& played) {
    // Command lines made by mutations are many, and each occurs only once.
    constexpr size_t most_runs = 512;
    constexpr size_t most_commands = 256;
    constexpr size_t longest_command = 200;
    KnownRuns& runs = known_runs();
    if (runs.size() >= most_runs && !runs.contains(words)) return;
    KnownRun& run = runs[words];
    run.inputs.insert(played.inputs.begin(), played.inputs.end());
    for (const Event& event : played.transcript.events()) {
        if (run.commands.size() >= most_commands) return;
        const bool waits = event.verb == "run" || event.verb == "pipe";
        if (waits && event.text.size() <= longest_command) run.commands.insert(event.text);
    }
}

void mutate(Case& stated, Random& random) {
    const auto found = known_runs().find(stated.words);
    static const KnownRun none;
    const KnownRun& known = found == known_runs().end() ? none : found->second;
    const std::set<Input>& inputs = known.inputs;
    if (one_in(random, 8)) {
        mutate_changes(stated, known, random);
        return;
    }
    if (!inputs.empty() && !one_in(random, 6)) {
        answer_otherwise(stated, one_in_set(random, inputs), random);
        return;
    }
    switch (below(random, 8)) {
        case 0:
        case 1:
            mutate_command(stated, random);
            return;
        case 2:
            mutate_file(stated.world, one_of(random, files), random);
            return;
        case 3:
            deny(stated.world, inputs, random);
            return;
        case 4:
            stated.world.environment["TZ"] = one_of(random, zones);
            return;
        case 5:
            stated.power_on = one_in(random, 4);
            if (stated.power_on) stated.settings.clear();
            return;
        default:
            mutate_setting(stated.settings, one_of(random, all_settings())->key, random);
            return;
    }
}

void cross(Case& stated, const Case& other, Random& random) {
    if (one_in(random, 4)) stated.words = other.words;
    for (const auto& [key, value] : other.settings)
        if (one_in(random, 2)) stated.settings[key] = value;
    for (const auto& [path, content] : other.world.files)
        if (one_in(random, 2)) stated.world.put(path, *content);
    for (const auto& [line, output] : other.world.outputs)
        if (one_in(random, 2)) stated.world.outputs[line] = output;
    if (one_in(random, 2)) stated.world.changes = other.world.changes;
    if (!stated.settings.empty()) stated.power_on = false;
}
