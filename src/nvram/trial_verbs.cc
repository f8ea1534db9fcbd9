// nvram confirm, undo, trial and previous: the change on trial, and the last commit's.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "libnvram/secret.h"
#include "nvram/json.h"
#include "nvram/trial.h"
#include "nvram/verbs.h"

namespace nvram {

namespace {

int no_trial(Store& store, const Call& call) {
    const std::string outcome = last_outcome(store);
    std::fprintf(stderr, "nvram: %s: no change is on trial%s%s\n", call.verb,
                 outcome.empty() ? "" : "; the last one: ", outcome.c_str());
    return status_no;
}

// The token from standard input: web interfaces need not show it to other processes.
std::string read_token() {
    std::string token;
    io::read_all(STDIN_FILENO, 64, token);
    return token.substr(0, token.find('\n'));
}

// Takes as long for a wrong token as for the right one.
bool same_token(std::string_view one, std::string_view other) {
    unsigned difference = one.size() == other.size() ? 0 : 1;
    for (std::size_t i = 0; i < std::min(one.size(), other.size()); ++i)
        difference |= static_cast<unsigned char>(one[i] ^ other[i]);
    return difference == 0;
}

unsigned seconds_since(long began) {
    return static_cast<unsigned>(std::max(0L, now() - began));
}

}  // namespace

int confirm_verb(Store& store, const Call& call) {
    const std::string word = call.words[0];
    const std::string token = word == "-" ? read_token() : word;
    const int lock = lock_changes(store, true);
    const std::optional<Trial> trial = current_trial(store);
    if (!trial) return no_trial(store, call);
    if (!same_token(token, trial->token)) {
        std::fprintf(stderr, "nvram: confirm: not the token of the change on trial\n");
        return status_no;
    }
    if (!store.confirm()) return store_error(store, call);
    end_trial(store, "confirmed");
    unlock_file(lock);
    return status_done;
}

int undo_verb(Store& store, const Call& call) {
    if (!current_trial(store)) return no_trial(store, call);
    Worker worker(call.root, false);
    if (const std::optional<int> result = worker.detach()) return *result;
    const int lock = lock_changes(store, true);
    // The guard may have been faster.
    const bool restored = !current_trial(store) || undo_trial(store, worker, "by nvram undo");
    worker.say(restored ? "undone" : "the old settings could not be restored");
    unlock_file(lock);
    worker.release(restored ? status_done : status_error);
    _exit(0);
}

int trial_verb(Store& store, const Call& call) {
    const std::optional<Trial> trial = current_trial(store);
    if (!trial) {
        if (!call.json) return no_trial(store, call);
        std::string line = "{";
        append_json_name(line, "on_trial");
        line += "false";
        append_json_name(line, "last");
        append_json(line, last_outcome(store));
        std::puts((line + "}").c_str());
        return status_no;
    }
    const unsigned since = seconds_since(trial->began);
    const unsigned left = since < trial->seconds ? trial->seconds - since : 0;
    const bool guarded = has_guard(store);
    if (!call.json) {
        std::printf("on trial: %s\nsince: %u s\nleft: %u s\n", trial->keys.c_str(), since, left);
        if (!guarded)
            std::puts("its guard has ended: nothing undoes it but 'nvram undo' or a restart");
        return status_done;
    }
    std::string line = "{";
    append_json_name(line, "on_trial");
    line += "true";
    append_json_name(line, "changed");
    append_json_words(line, trial->keys);
    append_json_name(line, "since");
    line += std::to_string(since);
    append_json_name(line, "left");
    line += std::to_string(left);
    append_json_name(line, "guarded");
    line += guarded ? "true" : "false";
    std::puts((line + "}").c_str());
    return status_done;
}

}  // namespace nvram
