// A change of settings on the running router, for good or on trial.
#ifndef RC_NVRAM_TRIAL_H
#define RC_NVRAM_TRIAL_H

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "libnvram/store.h"
#include "nvram/process.h"
#include "nvram/restarts.h"

namespace nvram {

// The settings that a change gives another value, and what they need. The texts belong to the
// images.
struct Change {
    std::vector<Entry> entries;
    // Their keys, and those of them that the boot uses, separated by spaces.
    std::string keys;
    std::string boot_keys;
    // To stop and to start again.
    Applications applications = 0;
};

Change change_to(const Image& working, const std::vector<Entry>& wanted);

enum class Outcome {
    Done,
    // Not all of the applications could be stopped, or the settings not stored: errno says why. All
    // is as it was.
    NotChanged,
    // The settings are changed, but rc could not be started for all of the applications.
    NotStarted,
};

// Stops the applications with the old settings, stores the new ones in one write, and starts them.
// If they cannot be stored, the applications are started with the old ones.
Outcome carry_out(Store& store, const Change& change, const Worker& worker);

// What is known of the change on trial. It lives in files beside the working copy, on the RAM disk,
// so that a power cut undoes it.
struct Trial {
    std::string token;
    std::string keys;
    long began = 0;  // by now()
    unsigned seconds = 0;
};

// nullopt if nothing is on trial.
std::optional<Trial> current_trial(Store& store);

// How the last trial ended: "confirmed", or "undone: " and why; "" if there was none.
std::string last_outcome(Store& store);

// Held by whoever changes the router; -1 with EWOULDBLOCK if another process does, and wait is
// false.
int lock_changes(const Store& store, bool wait);

// Begins a trial, before the change: keeps the old settings and gives out a token. False with errno
// set.
bool begin_trial(Store& store, const Change& change, unsigned seconds, Trial& trial);

// Ends the trial without undoing it.
void end_trial(Store& store, const std::string& outcome);

// Undoes the change on trial and compares the settings; lock_changes() must be held. False if they
// could not be restored, or rc not be started; the trial goes on then.
bool undo_trial(Store& store, const Worker& worker, const std::string& reason);

// The guard of a trial: returns when it is confirmed or undone.
void guard_trial(Store& store, const Trial& trial, const Worker& worker);

// Whether the trial's guard is alive.
bool has_guard(const Store& store);

}  // namespace nvram

#endif
