// Preloaded into rc: makes pauses very short, and with STRESS_STORM interrupts its system calls
// with a periodic signal.

#include <errno.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/time.h>
#include <unistd.h>

#include "moments.h"

#define INTERPOSED extern "C" __attribute__((visibility("default")))

namespace {

void ignore(int) {}

// Without SA_RESTART, so that calls fail with EINTR.
__attribute__((constructor)) void begin_storm() {
    const char* period = getenv("STRESS_STORM");
    if (!period) return;
    struct sigaction action = {};
    action.sa_handler = ignore;
    sigaction(SIGALRM, &action, nullptr);
    const long microseconds = atol(period);
    const itimerval storm = {.it_interval = {.tv_sec = 0, .tv_usec = microseconds},
                             .it_value = {.tv_sec = 0, .tv_usec = microseconds}};
    setitimer(ITIMER_REAL, &storm, nullptr);
}

}  // namespace

INTERPOSED unsigned sleep(unsigned) {
    stress::take_moments();
    return 0;
}

INTERPOSED int usleep(useconds_t) {
    sched_yield();
    return 0;
}
