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

using Answers = std::map<std::vector<std::string>, std::set<Input>>;
Answers& known_answers() {
    static Answers answers;
    return answers;
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
    if (!inputs.empty() && one_in(random, 2))
        path = std::next(inputs.begin(), static_cast<long>(below(random, inputs.size())))->name;
    world.denied.insert({path, one_of(random, modes)});
}

}  // namespace

void remember_inputs(const std::vector<std::string>& words, const std::set<Input>& inputs) {
    // Command lines made by mutations are many, and each occurs only once.
    constexpr size_t most_commands = 512;
    Answers& answers = known_answers();
    if (answers.size() >= most_commands && !answers.contains(words)) return;
    answers[words].insert(inputs.begin(), inputs.end());
}

void mutate(Case& stated, Random& random) {
    const auto known = known_answers().find(stated.words);
    const std::set<Input> none;
    const std::set<Input>& inputs = known == known_answers().end() ? none : known->second;
    if (!inputs.empty() && !one_in(random, 6)) {
        const auto input =
            std::next(inputs.begin(), static_cast<long>(below(random, inputs.size())));
        answer_otherwise(stated, *input, random);
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
    if (!stated.settings.empty()) stated.power_on = false;
}
