// The daemons that rc starts: running, once, and with the words that rc gave.

#include <algorithm>
#include <map>

#include "plan/inspect/daemons.h"
#include "plan/inspect/hidden.h"
#include "plan/inspect/inspect.h"

namespace {

struct Running {
    const Step* step = nullptr;
    // Its words, separated by single spaces.
    std::string command;
};
// By name.
using RunningDaemons = std::multimap<std::string_view, Running>;

// As ps shows them, but with single spaces, also those within a quoted word.
std::string joined_words(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        if (word != "&") text += word + " ";
    // clang 14 does not compile GCC's std::ranges::unique.
    text.erase(
        std::unique(text.begin(), text.end(), [](char a, char b) { return a == ' ' && b == ' '; }),
        text.end());
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// killall ends a program, unless its signal is one that the daemon handles.
void follow_kill(const std::vector<std::string>& words, RunningDaemons& running) {
    bool ends = true;
    for (size_t i = 1; i < words.size(); i++) {
        if (words[i].starts_with("-SIGUSR") || words[i] == "-HUP" || words[i] == "-SIGHUP")
            ends = false;
        else if (const Daemon* const daemon = daemon_in(words[i]); daemon && ends)
            running.erase(daemon->name);
    }
}

// The start of the Internet side may start the services itself, and then their own starts are the
// same ones.
void start(RunningDaemons& running, const Daemon& daemon, const Running& fresh) {
    const auto [first, last] = running.equal_range(daemon.name);
    const auto same = std::find_if(
        first, last, [&](const auto& other) { return other.second.command == fresh.command; });
    if (same == last)
        running.emplace(daemon.name, fresh);
    else
        same->second = fresh;
}

RunningDaemons expected_daemons(const ExpectedRouter& expected) {
    RunningDaemons running;
    for (const StepCommand& command : expected.commands()) {
        if (command.words().empty()) continue;
        if (command.runs("killall"))
            follow_kill(command.words(), running);
        else if (const Daemon* const daemon = daemon_in(command.words()[0]))
            start(running, *daemon, {command.step, joined_words(command.words())});
    }
    return running;
}

// The running daemons of this name; not their forks, which serve somebody or run another program
// next.
std::vector<std::string> commands_of(std::string_view name, const FoundRouter& found) {
    const auto is_fork = [&](const FoundProcess& process) {
        return std::ranges::any_of(found.processes, [&](const FoundProcess& other) {
            return other.pid == process.parent && other.name() == name;
        });
    };
    std::vector<std::string> commands;
    for (const FoundProcess& process : found.processes)
        if (process.name() == name && !process.ended && !is_fork(process))
            commands.push_back(process.command);
    return commands;
}

}  // namespace

const Daemon* daemon_in(std::string_view word) {
    const auto found = std::ranges::find_if(
        daemons, [&](const Daemon& daemon) { return is_program(word, daemon.name); });
    return found == std::end(daemons) ? nullptr : found;
}

void inspect_processes(const FoundRouter& found, const ExpectedRouter& expected, Deviations& list) {
    if (found.processes.empty()) return;
    const RunningDaemons running = expected_daemons(expected);
    const auto put = [&](std::string_view name, const std::string& wanted, const std::string& is,
                         const std::string& fix) {
        list.push_back({.kind = Deviation::Kind::Process,
                        .what = std::string(name),
                        .expected = wanted,
                        .found = is,
                        .fix = fix});
    };
    for (const Daemon& daemon : daemons) {
        std::vector<std::string> there = commands_of(daemon.name, found);
        // l2tpd starts it, with words of its own.
        if (daemon.name == "pppd" && running.contains("l2tpd")) continue;
        const auto [first, last] = running.equal_range(daemon.name);
        for (auto one = first; one != last; ++one) {
            const Running& wanted = one->second;
            const auto same = std::ranges::find_if(
                there, [&](const std::string& command) { return fits(wanted.command, command); });
            if (same != there.end()) {
                there.erase(same);
            } else if (there.empty()) {
                put(daemon.name, wanted.command, "", wanted.step->again());
            } else {
                put(daemon.name, wanted.command, there.front(), wanted.step->again());
                there.erase(there.begin());
            }
        }
        if (first == last && !there.empty())
            put(daemon.name, "", there.front(), "killall " + std::string(daemon.name));
        else if (daemon.alone && !there.empty())
            put(daemon.name, first->second.command + ", once", there.front() + ", once more",
                first->second.step->again());
    }
}

// A file as it should be, of a daemon as it should be, but written after the daemon's start: from
// settings that were changed meanwhile.
void inspect_ages(const FoundRouter& found, const ExpectedRouter& expected, Deviations& list) {
    // Seconds. The archive's times are whole ones, and rc starts a daemon right after its file.
    constexpr long long slack = 2;
    for (const FoundProcess& process : found.processes) {
        const Daemon* const daemon = daemon_in(process.name());
        if (!daemon || daemon->reads.empty() || process.started == 0) continue;
        const std::string file(daemon->reads);
        const auto written = found.file_times.find(file);
        // A time to come is of another clock: the date was set since.
        if (written == found.file_times.end() || written->second > found.clock ||
            written->second <= process.started + slack || found.changed <= process.started)
            continue;
        const Step* const writer = expected.writer_of(file);
        const bool told = std::ranges::any_of(list, [&](const Deviation& deviation) {
            return deviation.what == file || deviation.what == daemon->name;
        });
        if (told || !writer) continue;
        list.push_back({.kind = Deviation::Kind::Process,
                        .what = std::string(daemon->name),
                        .expected = "started after " + file + " was written",
                        .found = "started " + std::to_string(written->second - process.started) +
                                 " s before that, and it reads the file only at its start",
                        .fix = writer->again()});
    }
}
