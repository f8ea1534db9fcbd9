// Reads the outputs of busybox's and the net-tools' programs. Lines that look otherwise are
// skipped.

#include "plan/inspect/found.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>
#include <sstream>

#include "core/text.h"

namespace {

constexpr long long second = 1'000'000;

std::vector<std::string> lines_in(std::string_view text) {
    std::vector<std::string> lines;
    std::istringstream in{std::string(text)};
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

std::vector<std::string> words_in(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}

std::string joined(const std::vector<std::string>& words, size_t first = 0) {
    std::string text;
    for (size_t i = first; i < words.size(); i++) text += (i > first ? " " : "") + words[i];
    return text;
}

long long number_in(std::string_view text) {
    return scan_number(std::string(text).c_str()).value_or(0);
}

// "about": a name and a value on each line.
std::string fact(const Bundle& bundle, std::string_view name) {
    for (const std::string& line : lines_in(*bundle.get("about")))
        if (line.starts_with(name) && line.size() > name.size() && line[name.size()] == ' ')
            return line.substr(name.size() + 1);
    return "";
}

// A text like the secret: as long, and of the same characters.
std::string stand_in(const std::string& key, size_t length, const std::string& kind) {
    constexpr size_t longest = 4096;
    const std::string_view digits = "3141592653589793";
    const std::string_view hexadecimal = "c0ffee1234567890";
    const std::string source = kind == "digits"        ? std::string(digits)
                               : kind == "hexadecimal" ? std::string(hexadecimal)
                                                       : "secret-of-" + key + "-";
    std::string text;
    while (text.size() < std::min(length, longest)) text += source;
    text.resize(std::min(length, longest));
    return text;
}

// "shapes": KEY=LENGTH KIND for each secret that is set.
void put_stand_ins(FoundRouter& router, const std::string& shapes) {
    Settings& settings = router.settings;
    for (const std::string& line : lines_in(shapes)) {
        const size_t end = line.find('=');
        if (end == std::string::npos || !settings.contains(line.substr(0, end))) continue;
        const std::string key = line.substr(0, end);
        const std::vector<std::string> words = words_in(line.substr(end + 1));
        if (words.size() != 2) continue;
        settings[key] =
            stand_in(key, static_cast<size_t>(std::max(0LL, number_in(words[0]))), words[1]);
        router.stand_ins.push_back(settings[key]);
    }
}

// pppd overwrites its password's characters with question marks.
std::vector<std::string> with_hidden_words(std::vector<std::string> words) {
    for (std::string& word : words)
        if (word.find_first_not_of('?') == std::string::npos) word = hidden_text;
    return words;
}

// 0 if the text is no process id.
int process_id(std::string_view text) {
    constexpr long long most = 1 << 22;
    const long long number = number_in(text);
    return number > 0 && number <= most ? static_cast<int>(number) : 0;
}

// A line from its word with this number, from 0; but old busybox prints a state of two words ("S
// <") and begins a command one place left of its heading.
std::string command_in(const std::string& line, size_t word, size_t heading) {
    size_t at = line.find_first_not_of(' ');
    for (size_t i = 0; at != std::string::npos && (i < word || at + 2 < heading); i++)
        at = line.find_first_not_of(' ', std::min(line.find(' ', at), line.size()));
    if (at == std::string::npos) return "";
    // "{name} /bin/sh /etc/script": busybox adds the name of a script.
    const size_t end = line[at] == '{' ? line.find("} ", at) : std::string::npos;
    return joined(
        with_hidden_words(words_in(line.substr(end == std::string::npos ? at : end + 2))));
}

// A line of `ps`: the process id is the first word, the command the last column.
void read_ps(std::string_view output, std::map<int, FoundProcess>& processes) {
    size_t heading = std::string::npos;
    size_t columns = 0;
    for (const std::string& line : lines_in(output)) {
        if (heading == std::string::npos) {
            for (const char* const name : {"COMMAND", "Command", "CMD"})
                heading = std::min(heading, line.find(name));
            if (heading != std::string::npos) columns = words_in(line.substr(0, heading)).size();
            continue;
        }
        const int pid = process_id(line);
        const std::string text = command_in(line, columns, heading);
        // A kernel thread has its name in brackets.
        if (pid > 0 && !text.empty() && text[0] != '[')
            processes[pid] = {.pid = pid, .command = text};
    }
}

// The whole command lines, for those that ps has cut: PID and, after a blank, the parent's, start
// in ticks since the boot, and words, separated by tabulators, the words by 0x1f. The list is made
// right after that of ps, so what is not in it has ended.
void complete(std::string_view output, long long boot, std::map<int, FoundProcess>& processes) {
    constexpr long long ticks_a_second = 100;  // USER_HZ
    std::set<int> listed;
    for (std::string& line : lines_in(output)) {
        const size_t first = line.find('\t');
        const size_t last = line.find('\t', first + 1);
        if (first == std::string::npos || last == std::string::npos) continue;
        const std::vector<std::string> numbers = words_in(line.substr(0, first));
        const int pid = numbers.empty() ? 0 : process_id(numbers[0]);
        std::string text = line.substr(last + 1);
        std::ranges::replace(text, '\x1f', ' ');
        text = joined(with_hidden_words(words_in(text)));
        if (pid == 0 || text.empty()) continue;
        FoundProcess& process = processes[pid];
        if (process.pid == 0 || text.starts_with(process.command))
            process = {.pid = pid, .command = text};
        const long long ticks = number_in(line.substr(first + 1, last - first - 1));
        if (boot > 0 && ticks > 0) process.started = boot + ticks / ticks_a_second;
        if (numbers.size() > 1) process.parent = process_id(numbers[1]);
        listed.insert(pid);
    }
    for (auto& [pid, process] : processes) process.ended = !listed.empty() && !listed.contains(pid);
}

std::string after(const std::string& line, std::string_view label) {
    const size_t at = line.find(label);
    if (at == std::string::npos) return "";
    const std::string rest = line.substr(at + label.size());
    return rest.substr(0, rest.find(' '));
}

void read_ifconfig(std::string_view output, FoundRouter& router) {
    FoundInterface* current = nullptr;
    for (const std::string& line : lines_in(output)) {
        if (line.empty()) continue;
        if (line[0] != ' ') {
            current = &router.interfaces[line.substr(0, line.find(' '))];
            unsigned byte[6] = {};
            if (std::sscanf(after(line, "HWaddr ").c_str(), "%2x:%2x:%2x:%2x:%2x:%2x", &byte[0],
                            &byte[1], &byte[2], &byte[3], &byte[4], &byte[5]) == 6)
                std::ranges::transform(byte, current->mac.begin(), [](unsigned value) {
                    return static_cast<unsigned char>(value);
                });
            continue;
        }
        if (!current) continue;
        if (const std::string address = after(line, "inet addr:"); !address.empty()) {
            current->address = address;
            current->mask = after(line, "Mask:");
        }
        if (const std::string mtu = after(line, "MTU:"); !mtu.empty()) {
            current->mtu = static_cast<int>(number_in(mtu));
            current->up = std::ranges::count(words_in(line), "UP") > 0;
        }
    }
}

void read_routes(std::string_view output, FoundRouter& router) {
    constexpr size_t columns = 8;
    for (const std::string& line : lines_in(output)) {
        const std::vector<std::string> words = words_in(line);
        if (words.size() != columns || !isdigit(static_cast<unsigned char>(words[0][0]))) continue;
        router.routes.push_back({words[0], words[1], words[2], words[7]});
    }
}

// A bridge's first interface is on its own line, the others on lines of their own.
void read_bridges(std::string_view output, FoundRouter& router) {
    std::string bridge;
    for (const std::string& line : lines_in(output)) {
        const std::vector<std::string> words = words_in(line);
        if (words.empty() || line.starts_with("bridge name")) continue;
        const bool more = isspace(static_cast<unsigned char>(line[0])) != 0;
        if (!more) router.bridges[bridge = words[0]];
        if (!bridge.empty() && (more || words.size() == 4))
            router.bridges[bridge].insert(words.back());
    }
}

void read_mounts(std::string_view output, FoundRouter& router) {
    for (const std::string& line : lines_in(output)) {
        const std::vector<std::string> words = words_in(line);
        if (words.size() < 5 || !words[words.size() - 2].ends_with('%')) continue;
        router.mounts.push_back(
            {words.back(), static_cast<int>(number_in(words[words.size() - 2]))});
    }
}

// 0 for a time that no router has.
long long plausible(long long seconds) {
    constexpr long long year_10000 = 253'402'300'800;
    return seconds >= 0 && seconds < year_10000 ? seconds : 0;
}

// A program's name as the kernel prints it: at most 15 characters.
bool is_program_name(std::string_view text) {
    return !text.empty() && text.size() <= 15 && std::ranges::all_of(text, [](char c) {
        return isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-' || c == '.';
    });
}

// "Out of memory: Kill process 321 (udhcpd) ...", of older kernels "Out of Memory: Killed
// process 321 (udhcpd)."; "ip_conntrack: table full, dropping packet."
void read_kernel_log(std::string_view output, FoundRouter& router) {
    for (const std::string& line : lines_in(output)) {
        if (contains(line, "_conntrack: table full")) router.connections_full = true;
        if (!contains(line, "Out of memory: Kill") && !contains(line, "Out of Memory: Kill"))
            continue;
        const size_t from = line.find('(');
        const size_t to = line.find(')', std::min(from, line.size()));
        if (to == std::string::npos) continue;
        const std::string name = line.substr(from + 1, to - from - 1);
        if (is_program_name(name)) router.starved.insert(name);
    }
}

}  // namespace

std::string FoundProcess::name() const {
    const std::string program = command.substr(0, command.find(' '));
    return program.substr(program.rfind('/') + 1);
}

Settings FoundRouter::flash_settings() const {
    Settings flash = settings;
    for (const std::string& line : uncommitted)
        if (line.starts_with("+ ")) flash.erase(line.substr(2, line.find('=') - 2));
    for (const std::string& line : uncommitted)
        if (line.starts_with("- "))
            for (const auto& [key, value] : read_settings(line.substr(2) + "\n"))
                flash[key] = value;
    return flash;
}

bool FoundRouter::is_access_point() const {
    const auto mode = settings.find("ap_mode");
    return mode != settings.end() && mode->second.starts_with('1');
}

std::string FoundRouter::wan_interface() const {
    const auto name = settings.find("wan_ifname");
    return name == settings.end() ? "" : name->second;
}

bool FoundRouter::lacks_wan_address() const {
    const auto wan = interfaces.find(wan_interface());
    return !interfaces.empty() && (wan == interfaces.end() || !wan->second.address);
}

bool FoundRouter::has_process(int pid) const {
    return std::ranges::count(processes, pid, &FoundProcess::pid) > 0;
}

bool FoundRouter::has_program(std::string_view name) const {
    return std::ranges::any_of(processes,
                               [&](const FoundProcess& process) { return process.name() == name; });
}

std::string FoundRouter::hide(std::string text) const {
    constexpr size_t shortest = 4;
    for (const std::string& secret : stand_ins)
        for (size_t at = 0;
             secret.size() >= shortest && (at = text.find(secret, at)) != std::string::npos;
             at += hidden_text.size())
            text.replace(at, secret.size(), hidden_text);
    return text;
}

World FoundRouter::world() const {
    World world;
    for (const auto& [path, content] : files) world.put(path, content);
    for (const auto& [name, interface] : interfaces)
        world.interfaces[name] = {
            .address = interface.address, .mac = interface.mac, .mtu = interface.mtu};
    std::string list;
    for (const FoundProcess& process : processes)
        list += std::to_string(process.pid) + " root " + process.command + "\n";
    world.outputs["/bin/ps -ax"] = list;
    world.clock_microseconds = clock * second;
    world.uptime_microseconds = uptime * second;
    return world;
}

FoundRouter found_router(const Bundle& bundle) {
    FoundRouter router;
    router.settings = read_settings(*bundle.get("settings"));
    if (const std::string* const shapes = bundle.get("shapes")) put_stand_ins(router, *shapes);
    router.clock = plausible(number_in(fact(bundle, "date")));
    router.uptime = plausible(number_in(fact(bundle, "uptime")));
    router.changed = plausible(number_in(fact(bundle, "changed")));
    for (const auto& [name, content] : bundle.members)
        if (name.starts_with("files/")) router.files[name.substr(5)] = content;
    for (const auto& [name, time] : bundle.times)
        if (name.starts_with("files/")) router.file_times[name.substr(5)] = plausible(time);
    std::map<int, FoundProcess> processes;
    read_ps(bundle.output("ps"), processes);
    const long long boot = router.clock > router.uptime ? router.clock - router.uptime : 0;
    complete(bundle.output("cmdlines"), boot, processes);
    for (const auto& [pid, process] : processes) router.processes.push_back(process);
    read_ifconfig(bundle.output("ifconfig"), router);
    read_routes(bundle.output("route"), router);
    read_bridges(bundle.output("brctl"), router);
    read_mounts(bundle.output("df"), router);
    read_kernel_log(bundle.output("dmesg"), router);
    if (const std::string* const text = bundle.get("uncommitted"))
        for (const std::string& line : lines_in(*text))
            if (!line.empty()) router.uncommitted.push_back(line);
    return router;
}
