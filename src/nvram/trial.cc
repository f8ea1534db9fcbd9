// A change of settings on the running router, for good or on trial.
#include "nvram/trial.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "nvram/verbs.h"

namespace nvram {

namespace {

// Beside the working copy.
std::string before_path(const Store& store) {
    return store.places().working + ".before";
}
std::string outcome_path(const Store& store) {
    return store.places().trial() + ".last";
}

void append_word(std::string& words, std::string_view word) {
    if (!words.empty()) words += ' ';
    words += word;
}

bool read_facts(Store& store, const std::string& path, Image& facts) {
    std::string text;
    if (!store.read_file(path, image_limit, text)) return false;
    facts = Image(std::move(text));
    return true;
}

std::string fact(const Image& facts, std::string_view key) {
    return std::string(facts.get(key).value_or(""));
}

// 128 bits that nobody can guess.
std::string new_token() {
    unsigned char bytes[16];
    const int random = ::open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    const bool read = random >= 0 && ::read(random, bytes, sizeof bytes) == sizeof bytes;
    if (random >= 0) ::close(random);
    std::string token;
    if (!read) return token;
    for (const unsigned char byte : bytes) {
        token += "0123456789abcdef"[byte >> 4];
        token += "0123456789abcdef"[byte & 15];
    }
    return token;
}

// False if rc could not be started for one of them.
bool run_half(Applications applications, Half half, const Worker& worker) {
    bool started = true;
    const char* const action = half == Half::Stop ? "stop" : "start";
    for (const char* const name : names_of(applications, half)) {
        worker.say(std::string("rc ") + name + " " + action);
        const char* const words[] = {worker.rc().c_str(), name, action, nullptr};
        const int status = run_program(words, 0);
        if (status == not_started)
            worker.say("    could not be started");
        else if (status != 0)
            worker.say("    ended with status " + std::to_string(status));
        started &= status != not_started;
    }
    return started;
}

// The trial's settings as they were before it.
bool old_entries(Store& store, const Image& facts, Image& before, std::vector<Entry>& entries) {
    if (!read_facts(store, before_path(store), before)) return false;
    std::string_view keys = facts.get("keys").value_or("");
    while (!keys.empty()) {
        const std::string_view key = keys.substr(0, keys.find(' '));
        keys.remove_prefix(std::min(keys.size(), key.size() + 1));
        entries.push_back({key, before.get(key).value_or(no_value)});
    }
    return true;
}

bool are_stored(Store& store, const std::vector<Entry>& entries) {
    const Image* const working = store.working();
    if (working == nullptr) return false;
    for (const Entry& entry : entries) {
        const std::optional<std::string_view> value = working->get(entry.key);
        if (value.has_value() != (entry.value.data() != nullptr) ||
            (value && *value != entry.value))
            return false;
    }
    return true;
}

// On a full RAM disk the kept file itself takes the working copy's place; what others have changed
// meanwhile is lost then.
bool restore(Store& store, const std::vector<Entry>& entries) {
    if (!store.change(entries))
        std::rename(before_path(store).c_str(), store.places().working.c_str());
    return are_stored(store, entries);
}

}  // namespace

Change change_to(const Image& working, const std::vector<Entry>& wanted) {
    Change change;
    for (const Entry& entry : wanted) {
        if (working.get(entry.key) == entry.value) continue;
        change.entries.push_back(entry);
        append_word(change.keys, entry.key);
        const Applications users = users_of(entry.key);
        change.applications |= users & ~at_boot;
        if ((users & at_boot) != 0) append_word(change.boot_keys, entry.key);
    }
    change.applications = with_followers(change.applications);
    return change;
}

Outcome carry_out(Store& store, const Change& change, const Worker& worker) {
    const bool stopped = run_half(change.applications, Half::Stop, worker);
    if (!stopped) errno = EAGAIN;
    const bool changed = stopped && store.change(change.entries);
    const int reason = errno;
    const bool started = run_half(change.applications, Half::Start, worker);
    errno = reason;
    if (!changed) return Outcome::NotChanged;
    return started ? Outcome::Done : Outcome::NotStarted;
}

std::optional<Trial> current_trial(Store& store) {
    Image facts;
    if (!read_facts(store, store.places().trial(), facts)) return std::nullopt;
    return Trial{.token = fact(facts, "token"),
                 .keys = fact(facts, "keys"),
                 .began = std::atol(fact(facts, "began").c_str()),
                 .seconds = static_cast<unsigned>(std::atol(fact(facts, "seconds").c_str()))};
}

std::string last_outcome(Store& store) {
    Image facts;
    if (!read_facts(store, outcome_path(store), facts)) return "";
    return fact(facts, "outcome");
}

int lock_changes(const Store& store, bool wait) {
    return lock_file((store.places().working + ".apply").c_str(), wait);
}

bool begin_trial(Store& store, const Change& change, unsigned seconds, Trial& trial) {
    trial = {.token = new_token(), .keys = change.keys, .began = now(), .seconds = seconds};
    const std::string before = before_path(store);
    io::remove(before.c_str());
    // Every change replaces the working copy's file, so this one stays as it is and takes no room.
    if (trial.token.empty() || ::link(store.places().working.c_str(), before.c_str()) != 0)
        return false;
    const std::string began = std::to_string(trial.began);
    const std::string length = std::to_string(seconds);
    const std::vector<Entry> facts = {
        {"began", began}, {"keys", trial.keys}, {"seconds", length}, {"token", trial.token}};
    if (store.put_file(store.places().trial(), serialise(facts), false)) return true;
    const int reason = errno;
    io::remove(before.c_str());
    errno = reason;
    return false;
}

void end_trial(Store& store, const std::string& outcome) {
    const std::vector<Entry> facts = {{"outcome", outcome}};
    store.put_file(outcome_path(store), serialise(facts), false);
    io::remove(store.places().trial().c_str());
    io::remove(before_path(store).c_str());
}

bool undo_trial(Store& store, const Worker& worker, const std::string& reason) {
    Image facts;
    Image before;
    std::vector<Entry> entries;
    if (!read_facts(store, store.places().trial(), facts) ||
        !old_entries(store, facts, before, entries))
        return false;
    Applications applications = 0;
    for (const Entry& entry : entries) applications |= users_of(entry.key) & ~at_boot;
    applications = with_followers(applications);
    run_half(applications, Half::Stop, worker);
    const bool restored = restore(store, entries);
    const bool undone = run_half(applications, Half::Start, worker) && restored;
    if (undone) end_trial(store, "undone: " + reason);
    return undone;
}

void guard_trial(Store& store, const Trial& trial, const Worker& worker) {
    constexpr unsigned step = 250;
    constexpr unsigned pause_before_next_attempt = 10000;
    const long end = trial.began + static_cast<long>(trial.seconds);
    for (;;) {
        // A file that cannot be read just now is no end.
        const std::optional<Trial> current = current_trial(store);
        if (current ? current->token != trial.token : errno == ENOENT) return;
        bool restored = true;
        if (now() >= end) {
            const int lock = lock_changes(store, true);
            const std::optional<Trial> still = current_trial(store);
            if (still && still->token == trial.token)
                restored = undo_trial(store, worker, "not confirmed in time");
            unlock_file(lock);
        }
        wait_milliseconds(restored ? step : pause_before_next_attempt);
    }
}

bool has_guard(const Store& store) {
    const int file = ::open(store.places().trial().c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    const bool held = ::flock(file, LOCK_SH | LOCK_NB) != 0;
    ::close(file);
    return held;
}

}  // namespace nvram
