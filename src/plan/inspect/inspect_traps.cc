// States of a router that make rc do less than its settings say.

#include <algorithm>

#include "core/text.h"
#include "plan/inspect/inspect.h"

namespace {

constexpr long long year_2020 = 1'577'836'800;
// Percent. rc writes a few hundred kilobytes at most.
constexpr int nearly_full = 95;

std::string value(const FoundRouter& found, const char* key) {
    const auto setting = found.settings.find(key);
    return setting == found.settings.end() ? "" : setting->second;
}

void put(Deviations& list, const std::string& what, const std::string& expected,
         const std::string& is, const std::string& fix, std::vector<std::string> settings = {}) {
    list.push_back({.kind = Deviation::Kind::Trap,
                    .what = what,
                    .expected = expected,
                    .found = is,
                    .settings = std::move(settings),
                    .fix = fix});
}

// A marker or PID file of a run of rc that is under way; without a run it is left over.
void inspect_markers(const FoundRouter& found, Deviations& list) {
    for (const auto& [path, content] : found.files) {
        const bool marker = path.starts_with("/var/run/rc.") && path.ends_with(".run");
        const bool pid_file = path.starts_with("/var/run/my_pid");
        if (marker && !found.has_program("rc"))
            put(list, path, "", "a marker of a run of rc that has ended",
                "remove " + path +
                    ": in the first ten seconds after the start it keeps rc from "
                    "running");
        if (!pid_file) continue;
        const long long pid = scan_number(content.c_str()).value_or(0);
        if (pid <= 1 || !found.has_process(static_cast<int>(pid))) {
            put(list, path, "", "the id of a process that has ended: " + std::to_string(pid),
                "remove " + path);
        } else if (std::ranges::none_of(found.processes, [&](const FoundProcess& process) {
                       return process.pid == pid && process.name() == "rc";
                   })) {
            put(list, path, "", "the id of another program: " + std::to_string(pid),
                "remove " + path + ": the next run of rc would end that program");
        }
    }
}

void inspect_ddns(const FoundRouter& found, Deviations& list) {
    const auto log = found.files.find("/tmp/ddns_update.log");
    if (log == found.files.end() || value(found, "ddns_enable").starts_with('0')) return;
    const long long status = scan_number(log->second.c_str()).value_or(0);
    for (const long long blocking : {9, 14, 15, 16})
        if (status == blocking)
            put(list, "/tmp/ddns_update.log", "no status that keeps the client from starting",
                "status " + std::to_string(status) + ", so rc never starts the client",
                "correct the account, remove the file, then rc ddns restart",
                {"ddns_enable", "ddns_user_name"});
}

// Of any time since the log's beginning, so it may be over.
void inspect_kernel_log(const FoundRouter& found, Deviations& list) {
    for (const std::string& name : found.starved) {
        put(list, "memory for " + name, "", "the kernel has ended it for lack of memory",
            "start it again, and look in the archive's commands/free and commands/ps for what takes "
            "the memory");
        list.back().note = true;
    }
    if (!found.connections_full) return;
    put(list, "the kernel's table of connections", "", "it was full, so packets were dropped",
        "find the computer that opens so many, or raise the limit ip_conntrack_max in /proc");
    list.back().note = true;
}

void inspect_schedule(const FoundRouter& found, Deviations& list) {
    const auto state = found.files.find("/tmp/cron_schedule");
    if (state == found.files.end() || state->second != "0") return;
    if (value(found, "fw_schedule").empty() && value(found, "fw_schedule2").empty()) return;
    put(list, "the firewall's schedule", "", "closed just now, so its rules are not there",
        "nothing, if that is wanted at this time", {"fw_schedule", "fw_schedule2"});
    list.back().note = true;
}

}  // namespace

void inspect_traps(const FoundRouter& found, Deviations& list) {
    if (found.clock < year_2020)
        put(list, "the clock", "the date", "a date before 2020",
            "rc ntp restart; until then schedules and log times are wrong",
            {"ntp_custom", "ntp_server"});
    for (const FoundMount& mount : found.mounts)
        // The root is a read-only image, which is always full.
        if (mount.place != "/" && !mount.place.starts_with("/rom") && mount.used >= nearly_full)
            put(list, "file system " + mount.place, "space for the files that rc writes",
                std::to_string(mount.used) + " % used", "remove logs and leftovers from it");
    inspect_kernel_log(found, list);
    inspect_markers(found, list);
    inspect_ddns(found, list);
    inspect_schedule(found, list);
}
