// The recording platform: core/platform.h and libnvram/libnvram.h over a World, with a transcript
// of everything that is done.
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
    // The inputs that rc read from its environment.
    std::set<Input> inputs;
    // The settings that the run itself read or wrote, without nested runs.
    std::set<std::string> own_settings;
    // The number of yields, which are too short to be shown.
    int yields = 0;
    // The pid of the next nested run.
    int next_pid = 0;
    // The device that was opened last; rc uses one at a time.
    std::string device_path;
    // The errno of the next request to a device; 0 if it succeeds.
    int device_error = 0;
    Faults faults;
    // The number of events when the first call failed.
    size_t events_before_fault = 0;
};

// The recording that the platform works on; there is always one.
Recording& recording();

// Makes the platform work on a recording, as long as this object lives.
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

// Counts a call that can fail. True, with errno set, if the recording's fault applies to it.
bool call_fails(Fallible kind, int error);

// The content of a file of the router. /proc/uptime follows the clock unless the world states it.
std::optional<std::string> file_content(const World& world, const std::string& path);

// Whether the file system accepts the path's names.
bool path_fits(const std::string& path);

#endif
