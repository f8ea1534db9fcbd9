// All programs of the stress tests' root in one: the shell and the file tools run the real ones,
// every other program is a stub that logs its command line and succeeds. Each waits a short time
// first, so that runs interleave, and at its gate if it has one.

#include <fcntl.h>
#include <sched.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "moments.h"
#include "names.h"

namespace {

constexpr std::string_view real_tools[] = {"cat",  "chmod", "cp",    "cut",  "echo", "grep",
                                           "head", "ln",    "mkdir", "mv",   "rm",   "rmdir",
                                           "sed",  "sh",    "tail",  "test", "touch"};

// One write, so that lines of concurrent programs are not mixed.
void note(char** words) {
    const char* run = getenv(stress::run_variable);
    std::string line = std::string(run ? run : "") + ":";
    for (; *words; words++) line += " " + std::string(*words);
    line += "\n";
    const int log = open(stress::log_file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (log >= 0 && write(log, line.data(), line.size()) < 0) _exit(1);
}

// Opening waits until the test holds the gate, reading until the test releases it.
void wait_at_gate(std::string_view name) {
    const std::string path = stress::gate_prefix + std::string(name);
    const int gate = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (gate < 0) return;
    char byte = 0;
    while (read(gate, &byte, 1) > 0) continue;
    close(gate);
}

void print_processes() {
    static const char list[] = "  PID COMMAND\n    7 udhcpc\n    9 pppd\n";
    if (write(STDOUT_FILENO, list, sizeof list - 1) < 0) _exit(1);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 1) return 1;
    const std::string_view path = argv[0];
    const std::string_view name = path.substr(path.rfind('/') + 1);
    stress::take_moments();
    if (std::find(std::begin(real_tools), std::end(real_tools), name) != std::end(real_tools) ||
        name == "busybox") {
        execv(stress::real_shell, argv);
        return 127;
    }
    note(argv);
    wait_at_gate(name);
    if (name == "ps") print_processes();
    return 0;
}
