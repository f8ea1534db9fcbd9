// Runs a command and prints its resident memory at its end, before anything is given back.
//   peak ROOT COMMAND...
// A line for each file or kind of memory: kilobytes, those that belong to no file, name. The
// command runs in the root folder ROOT, which has /proc; its children do not count. Status 1 if it
// fails.

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <string>

namespace {

// Of one mapping or all of one file.
struct Resident {
    long whole = 0;
    long own = 0;
};

// proc(5): a line that begins with a range of addresses, then "Name:  NUMBER kB" lines.
bool print_memory(pid_t process) {
    FILE* const maps = fopen(("/proc/" + std::to_string(process) + "/smaps").c_str(), "r");
    if (!maps) return false;
    char line[512];
    long kilobytes = 0;
    std::map<std::string, Resident> parts;
    std::string name;
    while (fgets(line, sizeof line, maps)) {
        char path[256] = "[anonymous]";
        if (sscanf(line, "%*x-%*x %*s %*s %*s %*s %255s", path) == 1 || strchr(line, '-')) {
            const char* const slash = strrchr(path, '/');
            name = slash ? slash + 1 : path;
        }
        if (sscanf(line, "Rss: %ld", &kilobytes) == 1) parts[name].whole += kilobytes;
        if (sscanf(line, "Anonymous: %ld", &kilobytes) == 1) parts[name].own += kilobytes;
    }
    for (const auto& [part, resident] : parts)
        if (resident.whole > 0) printf("%ld %ld %s\n", resident.whole, resident.own, part.c_str());
    fclose(maps);
    return true;
}

[[noreturn]] void run(char** command) {
    const int nowhere = open("/dev/null", O_WRONLY);
    if (nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0 || dup2(nowhere, STDERR_FILENO) < 0)
        _exit(1);
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) execv(command[0], command);
    _exit(1);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    if (chroot(argv[1]) != 0 || chdir("/") != 0) return 1;
    const pid_t process = fork();
    if (process == 0) run(argv + 2);
    bool printed = false;
    bool traced = false;
    int status = 0;
    while (waitpid(process, &status, 0) == process) {
        if (!WIFSTOPPED(status)) break;
        // The first stop is that after its execve.
        if (!traced) ptrace(PTRACE_SETOPTIONS, process, nullptr, PTRACE_O_TRACEEXIT);
        const bool ends = status >> 8 == (SIGTRAP | PTRACE_EVENT_EXIT << 8);
        if (ends) printed = print_memory(process);
        const int signal = WSTOPSIG(status);
        ptrace(PTRACE_CONT, process, nullptr,
               signal == SIGTRAP ? nullptr : reinterpret_cast<void*>(long{signal}));
        traced = true;
    }
    return printed && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
}
