// A lock that another process holds for long: reported on standard error while nvram waits for it.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "nvram/verbs.h"

namespace nvram {

// Composed before the wait, because a signal handler may only write it.
static char message[512];
static const char* waiting_verb = "";
static unsigned patience = 0;

static void report(int) {
    const ssize_t written = ::write(STDERR_FILENO, message, std::strlen(message));
    static_cast<void>(written);
}

static void lock_wait(const char* path) {
    if (path != nullptr)
        std::snprintf(message, sizeof message,
                      "nvram: %s: %s: held by another process for %u seconds; still waiting\n",
                      waiting_verb, path, patience);
    ::alarm(path != nullptr ? patience : 0);
}

void report_lock_wait(const char* verb, unsigned seconds) {
    waiting_verb = verb;
    patience = seconds;
    struct sigaction action = {};
    action.sa_handler = report;
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGALRM, &action, nullptr);
    io::lock_wait = lock_wait;
}

}  // namespace nvram
