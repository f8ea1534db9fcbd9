// Runs commands in turn, round by round, and prints a line for each run: the command's number,
// nanoseconds of wall clock, exit status.
//   timed ROOT ROUNDS REMOVED -- COMMAND... [-- COMMAND...]...
// All run in the root folder ROOT. The file REMOVED is removed before each run, so that all start
// equal.

#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr int most_commands = 16;

long long nanoseconds() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}

void run(int results, int number, char** command) {
    const long long start = nanoseconds();
    pid_t child = 0;
    int status = 0;
    if (!command[0] || posix_spawn(&child, command[0], nullptr, nullptr, command, environ) != 0 ||
        waitpid(child, &status, 0) != child)
        exit(1);
    const long long taken = nanoseconds() - start;
    dprintf(results, "%d %lld %d\n", number, taken, WIFEXITED(status) ? WEXITSTATUS(status) : -1);
}

// Waits for background processes, which are not measured but would slow down the next command.
void wait_for_all() {
    while (waitpid(-1, nullptr, 0) > 0) continue;
}

// The commands' output is discarded.
int take_results() {
    const int results = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0 || dup2(nowhere, STDERR_FILENO) < 0)
        return -1;
    return results;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 6) return 2;
    const int rounds = atoi(argv[2]);
    char** commands[most_commands];
    int count = 0;
    for (int i = 4; i + 1 < argc && count < most_commands; i++) {
        if (strcmp(argv[i], "--") != 0) continue;
        argv[i] = nullptr;
        commands[count++] = argv + i + 1;
    }
    const int results = take_results();
    if (results < 0 || chroot(argv[1]) != 0 || chdir("/") != 0) return 1;
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    for (int round = 0; round < rounds; round++) {
        for (int i = 0; i < count; i++) {
            unlink(argv[3]);
            run(results, i, commands[i]);
            wait_for_all();
        }
    }
    return 0;
}
