// Preloaded into the real rc in the sealed root: records what rc does to the router other than
// through shell lines, skips pauses, and simulates what the case states (process ids, opens that
// fail).

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>
#include <sys/klog.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <linux/mii.h>

#include <algorithm>

#include "trace.h"

// glibc declares that its functions throw nothing, and that a request is an unsigned long.
#ifdef __GLIBC__
#define DECLARED noexcept
using Request = unsigned long;
#else
#define DECLARED
using Request = int;
#endif
#define INTERPOSED extern "C" __attribute__((visibility("default")))

namespace {

// An open file that rc may change.
struct OpenFile {
    FILE* stream;
    std::string path;
    std::string mode;
    std::string before;
    int content;  // reads the same file, also after its removal
};

struct OpenDevice {
    int file;
    std::string path;
};

struct Recorder {
    int depth = 0;
    int pid = 0;
    std::vector<OpenFile> open_files;
    std::vector<OpenDevice> devices;
    // Set during system calls of the settings library, which are not rc's.
    bool in_library = false;
};

// Null in a process that is not rc. Never freed: streams may be closed until the very end.
Recorder* recorder = nullptr;

bool listening() {
    return recorder && !recorder->in_library;
}

template <class Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void set_plain_environment(const char* name, const char* value) {
    real<int(const char*, const char*, int)>("setenv")(name, value, 1);
}

// Output of other programs and on stderr appears between rc's lines only after rc has flushed its
// own.
void record_unflushed(std::string_view verb, std::string_view text) {
    const int reason = errno;
    sealed::append_event(recorder->depth, verb, text);
    errno = reason;
}

void record(std::string_view verb, std::string_view text,
            std::optional<std::string_view> body = std::nullopt) {
    const int reason = errno;
    fflush(stdout);
    sealed::append_event(recorder->depth, verb, text, body);
    errno = reason;
}

bool denied(std::string_view what, std::string_view how) {
    const auto list = sealed::unpack(sealed::read_file(sealed::denied_file));
    if (!list) abort();
    for (size_t at = 0; at + 1 < list->size(); at += 2)
        if ((what.empty() || (*list)[at] == what) && (*list)[at + 1] == how) return true;
    return false;
}

// "r" and "r+" are denied separately; of "w" and "a" only the first letter matters.
std::string mode_name(const char* mode) {
    return mode[0] == 'r' ? mode : std::string(1, mode[0]);
}

FILE* open_listened(const char* name, const char* path, const char* mode) {
    const auto open_real = real<FILE*(const char*, const char*)>(name);
    if (!listening()) return open_real(path, mode);
    if (denied(path, mode_name(mode))) {
        errno = EACCES;
        return nullptr;
    }
    const bool changes = mode[0] != 'r' || strchr(mode, '+');
    if (mode[0] != 'r') sealed::make_folders(path);
    FILE* stream = open_real(path, mode);
    if (!stream || !changes) return stream;

    const int content = open(path, O_RDONLY | O_CLOEXEC);
    recorder->open_files.push_back({.stream = stream,
                                    .path = path,
                                    .mode = mode,
                                    .before = sealed::read_all(content),
                                    .content = content});
    return stream;
}

void record_closed(const OpenFile& file) {
    lseek(file.content, 0, SEEK_SET);
    const std::string content = sealed::read_all(file.content);
    close(file.content);
    if (file.mode.starts_with('a')) {
        if (content.size() > file.before.size())
            record("append", file.path, content.substr(file.before.size()));
    } else if (file.mode.starts_with('w') || content != file.before) {
        record("write", file.path, content);
    }
}

long long stated_clock() {
    return strtoll(sealed::read_file(sealed::clock_file).c_str(), nullptr, 10);
}

// A pause advances the clock and the uptime, if the case states them.
void pass(long long microseconds) {
    if (!sealed::write_file(sealed::clock_file, std::to_string(stated_clock() + microseconds)))
        abort();
    const std::string text = sealed::read_file(sealed::uptime_file);
    if (text.empty()) return;
    const long long now = strtoll(text.c_str(), nullptr, 10) + microseconds;
    if (!sealed::write_file(sealed::uptime_file, std::to_string(now)) ||
        !sealed::write_file("/proc/uptime", sealed::uptime_text(now)))
        abort();
}

int remove_listened(const char* name, const char* path) {
    if (listening()) record("remove", path);
    return real<int(const char*)>(name)(path);
}

// Calls a function of the settings library without recording its system calls.
template <class Result, class... Arguments>
Result call_library(const char* name, Arguments... arguments) {
    const auto function = real<Result(Arguments...)>(name);
    if (!recorder) return function(arguments...);
    recorder->in_library = true;
    const Result result = function(arguments...);
    recorder->in_library = false;
    return result;
}

void end_run(int status) {
    // The kernel passes on only the low eight bits.
    record("exit", std::to_string(status & 0xff));
}

// Only a process executed as rc is recorded: the settings command loads this library too.
bool is_rc() {
    // The kernel passes the text's address as a number.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    const auto* path = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    return path && std::string_view(path).ends_with("/rc");
}

// Where rc's messages go: into the trace; or, as the case states, to a reader that has gone, or
// nowhere, with all standard descriptors closed.
void connect_output() {
    if (denied("/dev/stdout", "closed")) {
        for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(file);
        return;
    }
    if (denied("/dev/stdout", "w")) {
        int ends[2] = {};
        if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) abort();
        close(ends[0]);
        close(ends[1]);
        return;
    }
    // A nested run prints on the console too, even if its line redirects output.
    const int output = open(sealed::output_file, O_WRONLY | O_APPEND | O_CLOEXEC);
    if (output < 0 || dup2(output, STDOUT_FILENO) < 0) abort();
}

__attribute__((constructor)) void begin_run() {
    if (!is_rc()) return;
    recorder = new Recorder;
    if (const char* depth = getenv(sealed::depth_variable)) recorder->depth = atoi(depth);
    set_plain_environment(sealed::depth_variable, std::to_string(recorder->depth + 1).c_str());
    unsetenv(sealed::inner_variable);

    recorder->pid = atoi(sealed::read_file(sealed::pid_file).c_str());
    if (!sealed::write_file(sealed::pid_file, std::to_string(recorder->pid + 1))) abort();
    connect_output();
}

int (*main_of_program)(int, char**, char**) = nullptr;

int recorded_main(int argc, char** argv, char** environment) {
    const int status = main_of_program(argc, argv, environment);
    if (recorder) end_run(status);
    return status;
}

}  // namespace

// The start: the run ends when main returns. on_exit, which would tell the status too, is in glibc
// only.

INTERPOSED int __libc_start_main(int (*main)(int, char**, char**), int argc, char** argv,
                                 void (*init)(), void (*fini)(), void (*loader_fini)(),
                                 void* stack_end) {
    main_of_program = main;
    return real<decltype(__libc_start_main)>("__libc_start_main")(recorded_main, argc, argv, init,
                                                                  fini, loader_fini, stack_end);
}

// Files.

INTERPOSED FILE* fopen(const char* path, const char* mode) {
    return open_listened("fopen", path, mode);
}

#ifdef __GLIBC__
INTERPOSED FILE* fopen64(const char* path, const char* mode) {
    return open_listened("fopen64", path, mode);
}
#endif

INTERPOSED int fclose(FILE* stream) {
    const int result = real<int(FILE*)>("fclose")(stream);
    if (!recorder) return result;
    std::vector<OpenFile>& files = recorder->open_files;
    for (size_t i = 0; i < files.size(); i++) {
        if (files[i].stream != stream) continue;
        const OpenFile closed = files[i];
        files.erase(files.begin() + static_cast<ptrdiff_t>(i));
        record_closed(closed);
        break;
    }
    return result;
}

INTERPOSED int unlink(const char* path) DECLARED {
    return remove_listened("unlink", path);
}

INTERPOSED int remove(const char* path) DECLARED {
    return remove_listened("remove", path);
}

INTERPOSED int chmod(const char* path, mode_t mode) DECLARED {
    if (listening()) {
        char text[16];
        snprintf(text, sizeof text, "%04o ", mode);
        record("chmod", text + std::string(path));
    }
    return real<int(const char*, mode_t)>("chmod")(path, mode);
}

INTERPOSED void perror(const char* what) {
    if (recorder) record_unflushed("error", std::string(what) + ": " + strerror(errno));
}

// Processes.

// A case's process ids do not exist here, so a signal is never sent.
INTERPOSED int kill(pid_t pid, int signal) DECLARED {
    if (!recorder) return real<int(pid_t, int)>("kill")(pid, signal);
    record("signal", std::to_string(signal) + " to " + std::to_string(pid));
    return 0;
}

INTERPOSED pid_t getpid() DECLARED {
    return recorder ? recorder->pid : real<pid_t()>("getpid")();
}

INTERPOSED int setenv(const char* name, const char* value, int replace) DECLARED {
    const char* kept = getenv(name);
    const std::optional<std::string> before =
        kept ? std::optional<std::string>(kept) : std::nullopt;
    const int result = real<int(const char*, const char*, int)>("setenv")(name, value, replace);
    if (const char* now = getenv(name); listening() && now && before != now)
        record("environment", std::string(name) + "=" + now);
    return result;
}

INTERPOSED FILE* popen(const char* line, const char* mode) {
    const auto open_real = real<FILE*(const char*, const char*)>("popen");
    if (!recorder) return open_real(line, mode);
    record_unflushed("pipe", line);
    if (denied(line, "pipe")) {
        errno = EMFILE;
        return nullptr;
    }
    set_plain_environment(sealed::pipe_variable, "1");
    FILE* stream = open_real(line, mode);
    unsetenv(sealed::pipe_variable);
    return stream;
}

// The clock, and pauses.

INTERPOSED time_t time(time_t* result) DECLARED {
    if (!recorder) return real<time_t(time_t*)>("time")(result);
    const auto now = static_cast<time_t>(stated_clock() / 1'000'000);
    if (result) *result = now;
    return now;
}

INTERPOSED unsigned sleep(unsigned seconds) {
    if (!recorder) return real<unsigned(unsigned)>("sleep")(seconds);
    record("pause", std::to_string(seconds) + " s");
    pass(seconds * 1'000'000LL);
    return 0;
}

INTERPOSED int usleep(useconds_t microseconds) {
    if (!recorder) return real<int(useconds_t)>("usleep")(microseconds);
    // Shorter ones only yield the processor.
    if (microseconds >= 1000) record("pause", std::to_string(microseconds) + " us");
    pass(microseconds);
    return 0;
}

// Devices and sockets.

// The kernel's log is this machine's, so the call is only recorded.
INTERPOSED int klogctl(int action, char* buffer, int length) DECLARED {
    if (!recorder) return real<int(int, char*, int)>("klogctl")(action, buffer, length);
    record("kernel-log", std::to_string(action));
    return 0;
}

// Remembers the path of a device, which is part of each request to it.
INTERPOSED int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = 0;
    // The analyzer does not know the va_start of an interposed open.
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    if (flags & O_CREAT) mode = va_arg(arguments, mode_t);
    va_end(arguments);
    const int file = real<int(const char*, int, ...)>("open")(path, flags, mode);
    if (listening() && file >= 0 && std::string_view(path).starts_with("/dev/")) {
        std::erase_if(recorder->devices, [&](const OpenDevice& old) { return old.file == file; });
        recorder->devices.push_back({.file = file, .path = path});
    }
    return file;
}

// A case's device is only a file, so every request to it succeeds. An interface's address comes
// from the sealed root's network.
INTERPOSED int ioctl(int file, Request request, ...) DECLARED {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    const auto ioctl_real = real<int(int, Request, ...)>("ioctl");
    if (!listening()) return ioctl_real(file, request, argument);
    const auto device = std::find_if(recorder->devices.begin(), recorder->devices.end(),
                                     [&](const OpenDevice& open) { return open.file == file; });
    if (device == recorder->devices.end()) return ioctl_real(file, request, argument);
    mii_ioctl_data registers;
    memcpy(&registers, argument, sizeof registers);
    record("device",
           device->path + " " + std::to_string(request) + " " + std::to_string(registers.phy_id) +
               " " + std::to_string(registers.reg_num) + " " + std::to_string(registers.val_in));
    return 0;
}

// A case denies the socket for one interface, which is not known here yet: all sockets fail.
INTERPOSED int socket(int family, int type, int protocol) DECLARED {
    if (listening() && denied("", "socket")) {
        errno = EPERM;
        return -1;
    }
    return real<int(int, int, int)>("socket")(family, type, protocol);
}

// Settings.

INTERPOSED int nvram_zel_load() {
    const int result = call_library<int>("nvram_zel_load");
    if (recorder) record("load", result == 0 ? "" : "failed");
    return result;
}

INTERPOSED int nvram_zel_set(const char* key, const char* value) {
    if (recorder) record("set", std::string(key) + "=" + value);
    return call_library<int>("nvram_zel_set", key, value);
}

INTERPOSED int nvram_zel_commit() {
    if (recorder) record("commit", "");
    return call_library<int>("nvram_zel_commit");
}
