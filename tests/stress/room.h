// A sealed root in which the real programs run, many at once and many times over.
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
// What CTest shows as "skipped".
inline constexpr int skipped = 77;

// The options that both tests have.
struct Options {
    std::string rc;
    std::string nvram;
    std::string library;
    std::string settings;  // a settings image: the router's
    unsigned seed = 1;
    int rounds = 0;  // 0: as many as the test has by itself
};

// Reads --rc, --nvram, --lib, --settings, --seed and --rounds. False, with a message, when
// something is missing.
bool read_options(int argc, char** argv, Options& options);

// Seals a root and calls inside there, with the settings that the router begins with. Returns what
// inside returns, or skipped or wrong_use with a message.
int in_room(const Options& options, const std::function<int(const Settings& settings)>& inside);

// The rest is for use inside.

// Makes the router's files anew: the settings as working copy and in flash as the first generation,
// nothing else below /tmp, /var and /etc but the factory settings.
void reset_router(const Settings& settings, const char* uptime);

// How to start a program; the words begin with its path.
struct Start {
    std::vector<std::string> words;
    std::string run;       // its name in the log, and its output is in output_of(run)
    unsigned seed = 0;     // of its moments; 0: it takes none
    int storm = 0;         // microseconds between interruptions; 0: none
    int failing_from = 0;  // for the library that fails
    bool traced = false;   // it waits for its tracer (ptrace(2)) first
};
pid_t start(const Start& what);
std::string output_of(const std::string& run);
std::string log_text();

// Waits for everything that still runs, also what others have left behind.
void wait_for_all();

bool exists(const std::string& path);
std::string read_text(const std::string& path);
// False when it cannot be written.
bool write_text(const std::string& path, const std::string& text);

}  // namespace stress

#endif
