// The recording platform: core/platform.h and libnvram/libnvram.h over a World, with a transcript
// of all that is done.
#ifndef RC_PLAN_ROUTER_RECORDING_H
#define RC_PLAN_ROUTER_RECORDING_H

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plan/router/faults.h"
#include "plan/router/input.h"
#include "plan/router/transcript.h"
#include "plan/router/world.h"

struct Recording {
    World world;
    Transcript transcript;
    // What rc read from its environment.
    std::set<Input> asked;
    // The settings that the run itself read or wrote, nested runs left out.
    std::set<std::string> settings_of_its_own;
    // Yields are too short to be shown; they are counted.
    int yields = 0;
    // The pids that nested runs get.
    int next_pid = 0;
    // The device that was opened last; rc works on one at a time.
    std::string device_path;
    // Why the next request to a device fails, as errno; 0 when it works.
    int device_error = 0;
    Faults faults;
    // How many events there were when the first call failed.
    size_t events_before_fault = 0;
};

// The recording that the platform works on; there is always one.
Recording& recording();

// Makes a recording the one that the platform works on, as long as this lives.
class Playing {
  public:
    explicit Playing(Recording& played);
    ~Playing();
    Playing(const Playing&) = delete;
    Playing& operator=(const Playing&) = delete;

  private:
    Recording* before_;
};

// Plays rc with these words (argv[0] first) and records its end. Returns the exit status.
int play(Recording& played, const std::vector<std::string>& words);

// Counts a call that can fail. True, with errno set, when the recording's fault says that it does.
bool call_fails(Fallible kind, int error);

// What a file of the router holds. /proc/uptime follows the clock unless the world states it.
std::optional<std::string> file_content(const World& world, const std::string& path);

// A name that the file system takes.
bool path_fits(const std::string& path);

#endif
