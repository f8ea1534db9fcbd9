// Free runs: each round starts several at once, which interleave depending on the seed and the
// kernel. The checks do not depend on the order.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <iostream>
#include <map>
#include <random>

#include "overlap.h"
#include "state.h"

namespace stress {

namespace {

constexpr const char* early = "5.00 5.00\n";
constexpr const char* later = "3600.00 3600.00\n";

// Runs of rc that start at once, and what must hold after all have ended.
struct Kind {
    const char* name;
    std::vector<std::vector<std::string>> runs;
    const char* uptime = later;
    Settings changes = {};  // to the settings
    // Runs may terminate others with SIGTERM.
    bool replace_each_other = false;
    // Files that must be complete: each equals the file that one run alone writes.
    std::vector<std::string> whole_files = {};
    // The settings that they store.
    std::vector<std::pair<std::string, std::string>> stores = {};
    // A start terminated by a stop leaves /var/run/my_pid.
    bool start_may_be_stopped = false;
    bool power_on = false;
    // Cheap kinds have many rounds.
    int rounds_each = 1;
};

const std::vector<std::string> firewall_files = {"/tmp/rules", "/tmp/rule2", "/tmp/pnat",
                                                 "/var/crontab"};

std::vector<Kind> kinds() {
    return {
        {.name = "service against service",
         .runs = {{"service", "restart"}, {"service", "restart"}},
         .replace_each_other = true,
         .whole_files = firewall_files,
         .stores = {{"ddns_old_service", ""}}},
        {.name = "three at the services",
         .runs = {{"service", "restart"}, {"service", "start"}, {"service", "restart"}},
         .replace_each_other = true,
         .whole_files = firewall_files,
         .stores = {{"ddns_old_service", ""}}},
        {.name = "wan against wan",
         .runs = {{"wan", "restart"}, {"wan", "start"}},
         .changes = {{"wan_mode", "dhcpc"}},
         .replace_each_other = true,
         .stores = {{"wan_ifname", "eth2.2"}},
         .rounds_each = 4},
        {.name = "three at the Internet side",
         .runs = {{"wan", "restart"}, {"wan", "stop"}, {"wan", "start"}},
         .changes = {{"wan_mode", "dhcpc"}},
         .replace_each_other = true,
         .stores = {{"wan_ifname", "eth2.2"}},
         .start_may_be_stopped = true,
         .rounds_each = 4},
        {.name = "the same application in the first ten seconds",
         .runs = {{"httpd", "restart"}, {"httpd", "start"}, {"httpd", "restart"}},
         .uptime = early,
         .whole_files = {"/tmp/htpasswd"},
         .rounds_each = 10},
        {.name = "the same application later",
         .runs = {{"dhcpd", "restart"}, {"dhcpd", "restart"}, {"dhcpd", "create"}},
         .whole_files = {"/etc/udhcpd.conf"},
         .rounds_each = 6},
        {.name = "a firewall restart inside a wan restart",
         .runs = {{"wan", "restart"}, {"firewall", "restart"}},
         .changes = {{"wan_mode", "dhcpc"}},
         .whole_files = firewall_files,
         .stores = {{"wan_ifname", "eth2.2"}}},
        {.name = "a firewall restart inside a wan restart that restarts the services",
         .runs = {{"wan", "restart"}, {"firewall", "restart"}},
         .changes = {{"wan_mode", "ip"}, {"wan_domain", ""}},
         .whole_files = firewall_files,
         .stores = {{"wan_ifname", "eth2.2"}, {"ddns_old_service", ""}}},
        {.name = "the first runs after power-on",
         .runs = {{"httpd", "start"}, {"dhcpd", "start"}},
         .stores = {{"wifi_present", "1"}},
         .power_on = true,
         .rounds_each = 4},
    };
}

// Writers that store settings during the runs: each has its own keys, sets each several times and
// commits in between.
constexpr int writers = 2;
constexpr int keys = 3;
constexpr int sets = 3;

pid_t start_writer(int writer, unsigned seed) {
    std::string script = "for i in";
    for (int i = 1; i <= sets; i++) script += " " + std::to_string(i);
    script += "; do\n";
    for (int key = 0; key < keys; key++)
        script +=
            "nvram set w" + std::to_string(writer) + "." + std::to_string(key) + "=$i || exit 3\n";
    script += "nvram commit || exit 4\ndone";
    return start({.words = {"/bin/sh", "-c", script},
                  .run = "writer" + std::to_string(writer),
                  .seed = seed});
}

struct Round {
    const Kind& kind;
    Settings settings;
    std::map<std::string, std::string> alone;  // the files that one run alone writes
    std::string wrong = {};
    int replaced = 0;
    int turned_away = 0;

    void check(bool holds, const std::string& what) {
        if (!holds) wrong += what + "\n";
    }
};

// Each run ends with 0 or is terminated by a newer one; at least one ends with 0.
void check_ends(Round& round, const std::vector<int>& statuses) {
    int done = 0;
    for (const int status : statuses) {
        const bool ended = WIFEXITED(status) && WEXITSTATUS(status) == 0;
        const bool replaced = WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM;
        done += ended;
        round.replaced += replaced;
        round.check(ended || (replaced && round.kind.replace_each_other),
                    "a run ended with " + std::to_string(status));
    }
    round.check(done > 0, "no run is left");
}

void check_markers(Round& round, const std::map<pid_t, int>& ends) {
    for (const char* name : {"httpd", "dhcpd", "firewall"})
        round.check(!exists(std::string("/var/run/rc.") + name + ".run"),
                    std::string("the marker of ") + name + " is left");
    for (const char* file : {"/var/run/my_pid_service", "/var/run/my_pid_wan"})
        round.check(!exists(file), std::string(file) + " is left");
    if (!exists("/var/run/my_pid")) return;
    const std::string pid = read_text("/var/run/my_pid");
    const auto left = ends.find(atoi(pid.c_str()));
    // A start that was stopped between opening its file and writing its number leaves it empty.
    const bool was_stopped =
        pid.empty() ? round.replaced > 0 : left != ends.end() && WIFSIGNALED(left->second);
    round.check(round.kind.start_may_be_stopped && was_stopped, "/var/run/my_pid is left");
}

void check_stored(Round& round) {
    Possible working;
    allow(working, round.settings);
    for (const auto& [key, value] : round.kind.stores) {
        if (!round.settings.contains(key)) working[key].insert(no_value);
        working[key].insert(value);
    }
    Possible flash = working;
    // A load discards what was stored before it, so at power-on there are no writers.
    for (int writer = 0; writer < writers && !round.kind.power_on; writer++) {
        for (int key = 0; key < keys; key++) {
            const std::string name = "w" + std::to_string(writer) + "." + std::to_string(key);
            working[name] = {std::to_string(sets)};
            // The last commit is this writer's or a later one.
            flash[name] = {std::to_string(sets)};
        }
    }
    round.wrong += wrong_settings(working, flash);
    for (const char* folder : {"/tmp", "/flash"})
        round.check(!has_temporary_files(folder), std::string(folder) + " has temporary files");
}

void check_files(Round& round) {
    for (const auto& [path, content] : round.alone) {
        if (read_text(path) == content) continue;
        round.check(false, path + " is not whole:\n" + read_text(path) + "--- alone:\n" + content);
    }
}

// In the first ten seconds, a run that finds a marker does nothing, and a run that finds none does
// everything. At least one finds none.
void check_turned_away(Round& round) {
    const std::string log = log_text();
    int worked = 0;
    for (size_t i = 0; i < round.kind.runs.size(); i++) {
        const std::string run = "run" + std::to_string(i);
        const bool server = log.find(run + ": /usr/sbin/mini_httpd") != std::string::npos;
        const bool stopped = log.find(run + ": /usr/bin/killall") != std::string::npos;
        const bool stops = round.kind.runs[i][1] == "restart";
        round.check(stopped == (server && stops), run + " did a half of its work");
        round.check(output_of(run) == "ap_name=httpd action=" + round.kind.runs[i][1] + "\n",
                    run + " says " + output_of(run));
        worked += server;
        round.turned_away += !server;
    }
    round.check(worked > 0, "all were turned away");
}

std::map<std::string, std::string> files_alone(const Kind& kind, const Settings& settings) {
    std::map<std::string, std::string> files;
    reset_router(settings, later);
    start({.words = {"/bin/rc", kind.runs[0][0], kind.runs[0][1]}, .run = "alone"});
    wait_for_all();
    // The services' files, if the first run leaves them to other runs.
    start({.words = {"/bin/rc", "service", "create"}, .run = "alone"});
    wait_for_all();
    for (const std::string& path : kind.whole_files) files[path] = read_text(path);
    return files;
}

Round play_round(const Kind& kind, const Settings& settings,
                 const std::map<std::string, std::string>& alone, unsigned seed) {
    Round round = {.kind = kind, .settings = settings, .alone = alone};
    reset_router(settings, kind.uptime);
    if (kind.power_on) unlink("/tmp/nvram");

    std::vector<pid_t> storing;
    for (int writer = 0; writer < writers && !kind.power_on; writer++)
        storing.push_back(start_writer(writer, seed));
    std::mt19937 random(seed);
    std::vector<pid_t> runs;
    runs.reserve(kind.runs.size());
    for (size_t i = 0; i < kind.runs.size(); i++) {
        runs.push_back(start({.words = {"/bin/rc", kind.runs[i][0], kind.runs[i][1]},
                              .run = "run" + std::to_string(i),
                              .seed = seed}));
        // At once, nearly at once, or in the middle of the other's work.
        constexpr std::array<unsigned, 3> longest_microseconds = {1, 2'000, 40'000};
        usleep(static_cast<useconds_t>(random() % longest_microseconds[random() % 3]));
    }

    std::map<pid_t, int> ends;
    int status = 0;
    // Waits for everything, including background processes of the runs.
    for (pid_t ended = wait(&status); ended > 0; ended = wait(&status)) ends[ended] = status;
    std::vector<int> statuses;
    statuses.reserve(runs.size());
    for (const pid_t run : runs) statuses.push_back(ends.at(run));
    for (const pid_t writer : storing)
        round.check(ends.at(writer) == 0, "a writer ended with " + std::to_string(ends.at(writer)));

    check_ends(round, statuses);
    check_markers(round, ends);
    check_files(round);
    if (kind.uptime == early) check_turned_away(round);
    check_stored(round);
    return round;
}

}  // namespace

int play_free_runs(const Settings& settings, unsigned seed, int rounds) {
    std::mt19937 random(seed);
    int wrong = 0;
    for (const Kind& kind : kinds()) {
        Settings changed = settings;
        for (const auto& [key, value] : kind.changes) changed[key] = value;
        const std::map<std::string, std::string> alone = files_alone(kind, changed);
        int wrong_here = 0;
        int replaced = 0;
        int turned_away = 0;
        const int rounds_here = rounds * kind.rounds_each;
        for (int i = 0; i < rounds_here; i++) {
            const auto round_seed = static_cast<unsigned>(random() | 1U);
            const Round round = play_round(kind, changed, alone, round_seed);
            replaced += round.replaced;
            turned_away += round.turned_away;
            if (round.wrong.empty()) continue;
            std::cout << kind.name << ", round " << i << ":\n" << round.wrong;
            wrong_here++;
        }
        std::cout << kind.name << ": " << rounds_here << " rounds, " << replaced
                  << " runs replaced, " << turned_away << " turned away, " << wrong_here
                  << " wrong\n"
                  << std::flush;
        wrong += wrong_here;
    }
    return wrong;
}

}  // namespace stress
