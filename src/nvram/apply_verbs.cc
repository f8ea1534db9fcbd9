// nvram apply, try, confirm, undo, trial and previous: changes of the running router.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "libnvram/printable.h"
#include "libnvram/secret.h"
#include "nvram/json.h"
#include "nvram/trial.h"
#include "nvram/verbs.h"

namespace nvram {

namespace {

constexpr const char* probe_folder = "/etc/nvram/probes";

// A probe that takes longer has failed.
constexpr unsigned probe_limit = 10'000;

// Failed probes are repeated for this many seconds, or for half of the trial.
constexpr unsigned probe_patience = 30;

int refuse(const Call& call, const char* problem) {
    std::fprintf(stderr, "nvram: %s: %s; nothing was changed\n", call.verb, problem);
    return status_no;
}

int fail(const Call& call, const std::string& path) {
    std::fprintf(stderr, "nvram: %s: %s: %s; nothing was changed\n", call.verb, path.c_str(),
                 std::strerror(errno));
    return status_error;
}

// One line of text, or a JSON object on a line.
void put_line(const std::string& line) {
    std::puts(line.c_str());
}

// The wanted settings, what they change, and what check says of the result. Both images live as
// long as the change.
struct Wanted {
    Image working;
    Image image;
    Change change;
    Verdict verdict;
};

bool read_wanted(Store& store, const Call& call, Wanted& wanted) {
    if (!read_settings_file(call, call.words.empty() ? "-" : call.words[0], wanted.image))
        return false;
    const Image* const working = store.working();
    if (working == nullptr) {
        store_error(store, call);
        return false;
    }
    wanted.working = Image(working->text());
    wanted.change = change_to(wanted.working, wanted.image.entries());
    Image all(working->text());
    for (const Entry& entry : wanted.change.entries) all.apply(entry);
    wanted.verdict = verdict_on(Image(all.text()));
    return true;
}

void append_json_actions(std::string& line, const Change& change) {
    append_json_name(line, "actions");
    line += '[';
    for (const Half half : {Half::Stop, Half::Start})
        for (const char* const name : names_of(change.applications, half)) {
            if (line.back() != '[') line += ',';
            append_json(line, std::string(name) + (half == Half::Stop ? " stop" : " start"));
        }
    line += ']';
}

// {"changed":[...],"actions":["wlan stop",...],"at_boot":[...],"pauses":4,"findings":[...]
std::string json_of(const Wanted& wanted) {
    const Change& change = wanted.change;
    std::string line = "{";
    append_json_name(line, "changed");
    append_json_words(line, change.keys);
    append_json_actions(line, change);
    append_json_name(line, "at_boot");
    append_json_words(line, change.boot_keys);
    append_json_name(line, "pauses");
    line += std::to_string(pauses_of(change.applications));
    append_json_name(line, "findings");
    return line + wanted.verdict.findings;
}

void print_plan(const Change& change) {
    put_line("changes: " + change.keys);
    for (const Half half : {Half::Stop, Half::Start})
        for (const char* const name : names_of(change.applications, half))
            put_line(std::string("would run: rc ") + name +
                     (half == Half::Stop ? " stop" : " start"));
    if (const unsigned pauses = pauses_of(change.applications); pauses > 0)
        put_line("takes at least " + std::to_string(pauses) + " s");
}

void print_boot_keys(const Change& change) {
    if (!change.boot_keys.empty()) put_line("takes effect at the next boot: " + change.boot_keys);
}

// Reads and judges the wanted settings. The exit status if nothing is to be changed, after the plan
// or the reason is printed.
std::optional<int> settle(Store& store, const Call& call, Wanted& wanted) {
    if (!read_wanted(store, call, wanted)) return status_error;
    const bool refused = !call.force && !wanted.verdict.errors.empty();
    if (!refused && !call.dry_run && !wanted.change.entries.empty()) return std::nullopt;
    if (call.json) {
        put_line(json_of(wanted) + "}");
    } else if (refused) {
        std::fputs(wanted.verdict.errors.c_str(), stdout);
    } else {
        print_plan(wanted.change);
        print_boot_keys(wanted.change);
    }
    if (refused) return refuse(call, "the settings have errors (--force applies them)");
    return status_done;
}

using Probes = std::vector<std::string>;

// The programs in the folder, by name, and the command's own, each a line for the shell.
Probes probes_of(const Call& call) {
    const std::string folder = std::string(call.root) + probe_folder;
    Probes probes;
    dirent** names = nullptr;
    const int count = scandir(folder.c_str(), &names, nullptr, alphasort);
    for (int i = 0; i < count; ++i) {
        const std::string path = folder + "/" + names[i]->d_name;
        struct stat status;
        if (stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            (status.st_mode & 0111) != 0)
            probes.push_back(path);
        std::free(names[i]);
    }
    std::free(names);
    probes.insert(probes.end(), call.probes.begin(), call.probes.end());
    return probes;
}

bool passes(const std::string& probe) {
    const char* const words[] = {"/bin/sh", "-c", probe.c_str(), nullptr};
    return run_program(words, probe_limit) == 0;
}

// Those that pass before the change; the others do not count.
Probes passing(const Call& call, const Probes& probes) {
    Probes good;
    for (const std::string& probe : probes) {
        if (passes(probe))
            good.push_back(probe);
        else
            std::fprintf(stderr, "nvram: %s: fails already, so it does not count: %s\n", call.verb,
                         printable(probe).c_str());
    }
    return good;
}

// The probe that still fails after the stated time; "" if the trial has ended, or if all pass twice
// in a row: what the change has just stopped may pass once more.
std::string failing(Store& store, const Probes& probes, const Trial& trial) {
    const long end = now() + static_cast<long>(std::min(probe_patience, trial.seconds / 2));
    for (bool passed_before = false; current_trial(store);) {
        const auto bad = std::find_if_not(probes.begin(), probes.end(), passes);
        const bool pass = bad == probes.end();
        if (pass && (passed_before || probes.empty())) break;
        if (!pass && now() >= end) return *bad;
        passed_before = pass;
        wait_milliseconds(1000);
    }
    return "";
}

// What is needed to change the running router; -1 after a message.
int prepare(Store& store, const Call& call, const std::string& rc, int& status) {
    status = status_error;
    if (access(rc.c_str(), X_OK) != 0) return fail(call, rc), -1;
    const int lock = lock_changes(store, false);
    if (lock < 0) {
        if (errno != EWOULDBLOCK) return fail(call, store.places().working + ".apply"), -1;
        status = refuse(call, "another change is under way");
        return -1;
    }
    if (!current_trial(store)) return lock;
    unlock_file(lock);
    status = refuse(call, "a change is on trial; first 'nvram confirm TOKEN' or 'nvram undo'");
    return -1;
}

// Ends the worker.
[[noreturn]] void leave(Worker& worker, int status) {
    if (worker.detached()) worker.release(status);
    _exit(0);
}

// In the worker of apply.
[[noreturn]] void apply_in_worker(Store& store, const Call& call, const Change& change,
                                  Worker& worker) {
    const Outcome outcome = carry_out(store, change, worker);
    if (outcome == Outcome::NotChanged) {
        worker.say(std::string("the settings could not be changed: ") + std::strerror(errno) +
                   "; all is as it was");
        leave(worker, status_error);
    }
    if (outcome == Outcome::NotStarted) {
        worker.say("the settings are changed, but not in use: run the rc actions again");
        leave(worker, status_error);
    }
    if (call.commit && !store.commit()) {
        worker.say(std::string("applied, but not in flash: ") + std::strerror(errno));
        leave(worker, status_error);
    }
    worker.say(call.commit ? "applied, and written to flash"
                           : "applied; 'nvram commit' writes it to flash");
    leave(worker, status_done);
}

// In the worker of try.
[[noreturn]] void try_in_worker(Store& store, const Change& change, const Trial& trial, int lock,
                                const Probes& probes, Worker& worker) {
    const int guard = lock_file(store.places().trial().c_str(), true);
    const auto undone = [&](const std::string& reason) {
        const bool restored = undo_trial(store, worker, reason);
        worker.say(restored ? "undone: " + reason : "the old settings could not be restored yet");
        worker.release(restored ? status_no : status_error);
    };
    const Outcome outcome = carry_out(store, change, worker);
    if (outcome == Outcome::NotChanged)
        undone(std::string("the settings could not be changed: ") + std::strerror(errno));
    if (outcome == Outcome::NotStarted) undone("rc could not be started");
    // The guard takes it again if the trial goes on.
    unlock_file(lock);
    if (outcome == Outcome::Done) {
        const std::string probe = failing(store, probes, trial);
        const int again = lock_changes(store, true);
        const std::optional<Trial> still = current_trial(store);
        if (!probe.empty() && still && still->token == trial.token) {
            undone("a probe fails: " + printable(probe));
        } else {
            worker.say("on trial for " + std::to_string(trial.seconds) + " s; 'nvram confirm " +
                       trial.token + "' keeps it");
            worker.release(status_done);
        }
        unlock_file(again);
    }
    guard_trial(store, trial, worker);
    unlock_file(guard);
    _exit(0);
}

}  // namespace

int apply_verb(Store& store, const Call& call) {
    Wanted wanted;
    if (const std::optional<int> status = settle(store, call, wanted)) return *status;
    const Change& change = wanted.change;
    Worker worker(call.root, call.json);
    int status = status_error;
    if (prepare(store, call, worker.rc(), status) < 0) return status;
    if (call.json)
        put_line(json_of(wanted) + "}");
    else
        print_boot_keys(change);
    if (const std::optional<int> result = worker.detach()) return *result;
    apply_in_worker(store, call, change, worker);
}

int try_verb(Store& store, const Call& call) {
    Wanted wanted;
    if (const std::optional<int> status = settle(store, call, wanted)) return *status;
    const Change& change = wanted.change;
    Worker worker(call.root, call.json);
    int status = status_error;
    const int lock = prepare(store, call, worker.rc(), status);
    if (lock < 0) return status;
    const Probes probes = passing(call, probes_of(call));
    Trial trial;
    if (!begin_trial(store, change, call.seconds, trial)) return fail(call, store.places().trial());
    // Before the change, which may end the connection that this is read through.
    if (call.json) {
        std::string line = json_of(wanted);
        append_json_name(line, "token");
        append_json(line, trial.token);
        append_json_name(line, "seconds");
        put_line(line + std::to_string(trial.seconds) + "}");
    } else {
        put_line("token: " + trial.token);
        print_boot_keys(change);
    }
    if (const std::optional<int> result = worker.detach()) {
        // Without a worker nothing was changed, and nobody would end the trial.
        if (!worker.began()) end_trial(store, "not begun");
        return *result;
    }
    try_in_worker(store, change, trial, lock, probes, worker);
}

}  // namespace nvram
