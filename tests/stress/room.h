// A sealed root in which the real programs run, many at once and many times.
#ifndef RC_TESTS_STRESS_ROOM_H
#define RC_TESTS_STRESS_ROOM_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "plan/router/settings.h"

namespace stress {

inline constexpr int passed = 0;
inline constexpr int failed = 1;
inline constexpr int wrong_use = 2;
// CTest shows this status as "skipped".
inline constexpr int skipped = 77;

// The options that all tests here have.
struct Options {
    std::string rc;
    std::string nvram;
    std::string library;
    std::string settings;  // a settings image: the router's
    unsigned seed = 1;
    int rounds = 0;  // 0: the test's default
};

// Reads --rc, --nvram, --lib, --settings, --seed and --rounds. False, with a message, if a required
// option is missing.
bool read_options(int argc, char** argv, Options& options);

// Seals a root and calls inside there with the router's initial settings. Returns the result of
// inside, or skipped or wrong_use with a message.
int in_room(const Options& options, const std::function<int(const Settings& settings)>& inside);

// The functions below are for use inside the sealed root.

// Recreates the router's files: the settings as working copy and as the first generation in flash;
// otherwise nothing below /tmp, /var and /etc except the factory settings.
void reset_router(const Settings& settings, const char* uptime);

// How to start a program; the words begin with its path.
struct Start {
    std::vector<std::string> words;
    std::string run;       // its name in the log and for output_of()
    unsigned seed = 0;     // of its short delays; 0: no delays
    int storm = 0;         // microseconds between interruptions; 0: none
    int failing_from = 0;  // for the failing library: the first failing call
    bool traced = false;   // it first waits for its tracer (ptrace(2))
};
pid_t start(const Start& what);
std::string output_of(const std::string& run);
std::string log_text();

// Waits for everything that still runs, including orphaned processes.
void wait_for_all();

bool exists(const std::string& path);
std::string read_text(const std::string& path);
// False if the file cannot be written.
bool write_text(const std::string& path, const std::string& text);

}  // namespace stress

#endif
