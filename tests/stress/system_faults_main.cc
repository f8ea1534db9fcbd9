// system_faults: the real rc, nvram and libnvram.so in a sealed root, with each of their system
// calls failing in turn.

#include <errno.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/wait.h>

#include <iostream>

#include "room.h"
#include "state.h"
#include "traced.h"

namespace {

using stress::SystemCall;
using stress::SystemFault;

struct Way {
    SystemCall kind;
    int error;
};

// The ways in which each kind of call fails.
constexpr Way ways[] = {
    {SystemCall::OpenToRead, EACCES},
    {SystemCall::OpenToRead, EMFILE},
    {SystemCall::OpenToWrite, ENOSPC},
    {SystemCall::OpenToWrite, EACCES},
    {SystemCall::Read, EIO},
    {SystemCall::Read, EINTR},
    {SystemCall::Read, stress::one_byte},
    {SystemCall::Write, ENOSPC},
    {SystemCall::Write, EINTR},
    {SystemCall::Write, stress::one_byte},
    {SystemCall::Status, EACCES},
    {SystemCall::Fork, EAGAIN},
    {SystemCall::Wait, EINTR},
    {SystemCall::Pipe, EMFILE},
    {SystemCall::Sync, EIO},
    {SystemCall::Rename, EROFS},
    {SystemCall::Remove, EROFS},
    {SystemCall::Lock, EINTR},
    {SystemCall::Lock, ENOLCK},
    {SystemCall::MakeFolder, ENOSPC},
    {SystemCall::Socket, EMFILE},
};

constexpr std::array<const char*, stress::system_call_kinds> kind_names = {
    "open to read", "open to write", "read",   "write",  "stat", "fork",        "wait",
    "pipe",         "fsync",         "rename", "unlink", "lock", "make folder", "socket",
};

// One command, and its possible effects on the settings.
struct Trial {
    std::vector<std::string> words;
    // Of the working copy before it; with flash_too, of the flash's generation too.
    Settings before = {};
    bool power_on = false;
    bool no_flash = false;
    // Values that it stores in the working copy, or may store if a read fails.
    std::vector<std::pair<std::string, std::string>> stores = {};
    bool commits = false;
    // Ends with 2 and changes nothing, or with 0 and does everything.
    bool all_or_nothing = false;
    // What it says on its way to status 0.
    std::string says = {};
    // The factory settings, if they are others than those before it.
    Settings factory = {};
};

struct Tally {
    std::array<long, stress::system_call_kinds> faults = {};
    long wrong = 0;
};

std::string joined(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) line += (line.empty() ? "" : " ") + word;
    return line;
}

const char factory_data_mac[] = "\x00\x11\x22\x33\x44\xfe";

// A board's flash partition: its PIN, its MAC address, its version record.
std::string factory_partition() {
    std::string flash(0x30000, '\0');
    flash.replace(0x2ff70, 8, "12345670");
    flash.replace(0x2ffa0, 6, std::string(factory_data_mac, 6));
    flash.replace(0x2ffe3, 2, "\x02\x07");
    return flash;
}

void prepare(const Trial& trial) {
    stress::reset_router(trial.before, "3600.00 3600.00\n");
    stress::write_text("/dev/mtd0", factory_partition());
    stress::write_text("/tmp/import", "imported=yes\nlan_ipaddr=192.168.7.1\n");
    if (!trial.factory.empty()) stress::write_text("/etc/default", settings_image(trial.factory));
    if (trial.power_on) unlink("/tmp/nvram");
    if (trial.no_flash) {
        unlink("/flash/nvram.a");
        rmdir("/flash");
    }
}

stress::Possible possible_working(const Trial& trial) {
    stress::Possible possible;
    stress::allow(possible, trial.before);
    for (const auto& [key, value] : trial.stores) {
        if (!trial.before.contains(key)) possible[key].insert(stress::no_value);
        possible[key].insert(value);
    }
    return possible;
}

// Checks what must hold after any fault. Without a working copy there is nothing to damage.
std::string wrong_end(const Trial& trial, const stress::TracedEnd& end, int usual_status) {
    if (WIFSIGNALED(end.status))
        return std::string("ended by signal ") + strsignal(WTERMSIG(end.status)) + "\n";
    const int status = WEXITSTATUS(end.status);
    std::string wrong;
    if (status != usual_status && !(trial.all_or_nothing && status == 2))
        wrong += "ended with status " + std::to_string(status) + "\n";

    stress::Possible working = possible_working(trial);
    stress::Possible flash;
    stress::allow(flash, trial.before);
    if (trial.commits) flash = working;
    if (trial.power_on && !stress::exists("/tmp/nvram")) {
        stress::write_text("/tmp/nvram", settings_image(trial.before));
    }
    if (trial.no_flash && stress::newest_in_flash().empty())
        return wrong +
               stress::wrong_image("the working copy", stress::read_text("/tmp/nvram"), working);
    return wrong + stress::wrong_settings(working, flash);
}

// nvram does all or nothing and reports a failure.
std::string wrong_answer(const Trial& trial, const stress::TracedEnd& end,
                         const SystemFault& fault) {
    // The message could not be written either.
    if (fault.kind == SystemCall::Write && !fault.once) return "";
    if (!trial.all_or_nothing || !WIFEXITED(end.status)) return "";
    const std::string output = stress::output_of("trial");
    if (WEXITSTATUS(end.status) == 0) {
        // What it says may be what could not be written.
        const bool unsaid = output.empty() && fault.kind == SystemCall::Write;
        const bool said = trial.says.empty() ? output.empty() : output.starts_with(trial.says);
        return said || unsaid ? "" : "says " + output + "\n";
    }
    if (!output.starts_with("nvram: ")) return "does not report its failure\n";
    return "";
}

std::optional<stress::TracedEnd> play(const Trial& trial, const SystemFault& fault) {
    prepare(trial);
    const pid_t child = stress::start({.words = trial.words, .run = "trial", .traced = true});
    const auto end = stress::run_traced(child, fault);
    stress::wait_for_all();
    return end;
}

void play_fault(const Trial& trial, const SystemFault& fault, int usual_status, Tally& tally) {
    const auto end = play(trial, fault);
    tally.faults[static_cast<size_t>(fault.kind)]++;
    std::string wrong =
        end ? wrong_end(trial, *end, usual_status) + wrong_answer(trial, *end, fault)
            : "could not be traced\n";
    if (end && end->failed == 0) wrong += "the fault was not reached\n";
    if (wrong.empty()) return;
    tally.wrong++;
    std::cout << joined(trial.words) << ": " << kind_names[static_cast<size_t>(fault.kind)] << " "
              << fault.at << (fault.once ? "" : " and later") << ", "
              << (fault.error == stress::one_byte ? "one byte" : strerror(fault.error)) << ":\n"
              << wrong;
}

int play_all_faults(const Trial& trial, Tally& tally) {
    const auto whole = play(trial, {});
    if (!whole) return stress::skipped;
    const std::string wrong = wrong_end(trial, *whole, 0) + wrong_answer(trial, *whole, {});
    if (!wrong.empty()) {
        std::cout << joined(trial.words) << ", whole: " << wrong << stress::output_of("trial");
        tally.wrong++;
    }
    for (const Way& way : ways) {
        const int calls = whole->calls[static_cast<size_t>(way.kind)];
        for (int at = 1; at <= calls; at++)
            play_fault(trial, {.kind = way.kind, .at = at, .once = true, .error = way.error}, 0,
                       tally);
        // A call that is interrupted for ever is repeated for ever, so it is left out.
        if (calls > 1 && way.error != EINTR)
            play_fault(trial, {.kind = way.kind, .at = 1, .once = false, .error = way.error}, 0,
                       tally);
    }
    return stress::passed;
}

Settings with(Settings settings, const Settings& others) {
    for (const auto& [key, value] : others) settings[key] = value;
    return settings;
}

Trial rc_trial(std::vector<std::string> words, const Settings& before) {
    words.insert(words.begin(), "/bin/rc");
    Trial trial = {.words = std::move(words), .before = before};
    trial.stores = {{"wan_ifname", "eth2.2"}, {"wan_ifname", "ppp0"}, {"ddns_old_service", ""}};
    return trial;
}

// The settings that a boot stores; the board's are those in its flash.
Trial boot_trial(const Settings& before) {
    Trial trial = rc_trial({"init"}, before);
    trial.power_on = true;
    trial.commits = true;
    trial.stores.insert(trial.stores.end(), {{"wifi_present", "1"},
                                             {"lan_assign_mac", "00:11:22:33:44:fe"},
                                             {"lan_assign_mac_2", "00:11:22:33:44:ff"},
                                             {"assign_mac", "00:11:22:33:44:ff"},
                                             {"wan_macaddr_default", "00:11:22:33:44:ff"},
                                             {"wsc_device_pin", "12345670"},
                                             {"upgrade_default", "0"},
                                             // Empty if the image cannot be read.
                                             {"fw_services_def", ""}});
    return trial;
}

std::vector<Trial> trials_on(const Settings& settings) {
    std::vector<Trial> trials = {
        {.words = {"/bin/nvram", "set", "a=1", "lan_ipaddr=192.168.9.1"},
         .before = settings,
         .stores = {{"a", "1"}, {"lan_ipaddr", "192.168.9.1"}},
         .all_or_nothing = true},
        {.words = {"/bin/nvram", "import", "/tmp/import"},
         .before = settings,
         .stores = {{"imported", "yes"}, {"lan_ipaddr", "192.168.7.1"}},
         .all_or_nothing = true},
        {.words = {"/bin/nvram", "commit"},
         .before = settings,
         .commits = true,
         .all_or_nothing = true},
        {.words = {"/bin/nvram", "commit"},
         .before = settings,
         .no_flash = true,
         .commits = true,
         .all_or_nothing = true},
        {.words = {"/bin/nvram", "load"}, .before = settings, .all_or_nothing = true},
        {.words = {"/bin/nvram", "default"},
         .before = settings,
         .commits = true,
         .all_or_nothing = true},
        // After a failed load: flash keeps the user's settings, whatever fails.
        {.words = {"/bin/nvram", "default"},
         .before = with(settings, {{"device_name", "Mine"}}),
         .power_on = true,
         .stores = {{"device_name", settings.at("device_name")}},
         .all_or_nothing = true,
         .says = "nvram: default: there was no working copy",
         .factory = settings},
        boot_trial(with(settings, {{"upgrade_default", "1"}, {"fw_services_def", "DNS"}})),
        rc_trial({"httpd", "restart"}, settings),
        rc_trial({"dhcpd", "restart"}, with(settings, {{"dhcp_reserved", ""}})),
        rc_trial({"wlan", "create"}, settings),
        rc_trial({"firewall", "create"}, settings),
        rc_trial({"service", "create"}, settings),
        rc_trial({"wan", "start"}, settings),
        rc_trial({"wan", "stop"}, settings),
    };
    return trials;
}

}  // namespace

int main(int argc, char** argv) {
    stress::Options options;
    if (!stress::read_options(argc, argv, options)) return stress::wrong_use;
    return stress::in_room(options, [&](const Settings& settings) {
        Tally tally;
        for (const Trial& trial : trials_on(settings))
            if (const int status = play_all_faults(trial, tally); status != stress::passed)
                return status;
        for (size_t kind = 0; kind < stress::system_call_kinds; kind++)
            std::cout << kind_names[kind] << " " << tally.faults[kind] << ", ";
        std::cout << tally.wrong << " wrong\n";
        return tally.wrong == 0 ? stress::passed : stress::failed;
    });
}
