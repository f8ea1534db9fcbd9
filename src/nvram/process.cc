// Processes of the running router.
#include "nvram/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "libnvram/store_io.h"
#include "nvram/json.h"
#include "nvram/verbs.h"

namespace nvram {

namespace {

constexpr int last_signal = 31;

void handle_signals(void (*handler)(int)) {
    for (int number = 1; number <= last_signal; ++number)
        if (number != SIGKILL && number != SIGSTOP && number != SIGCHLD) ::signal(number, handler);
    // rc waits for its own children.
    ::signal(SIGCHLD, SIG_DFL);
}

void discard_standard_streams() {
    const int nothing = ::open("/dev/null", O_RDWR);
    for (int file = 0; file <= 2; ++file)
        if (nothing >= 0) ::dup2(nothing, file);
    if (nothing > 2) ::close(nothing);
}

// Old kernels know the second file only (Documentation/filesystems/proc.txt).
void keep_when_memory_runs_out() {
    const int score = ::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
    const int old = score >= 0 ? -1 : ::open("/proc/self/oom_adj", O_WRONLY | O_CLOEXEC);
    const ssize_t written = score >= 0 ? ::write(score, "-1000", 5) : ::write(old, "-17", 3);
    static_cast<void>(written);
    if (score >= 0) ::close(score);
    if (old >= 0) ::close(old);
}

// Memory and process numbers come back when others end.
pid_t fork_patiently() {
    constexpr int attempts = 50;
    for (int i = 1;; ++i) {
        const pid_t child = ::fork();
        if (child >= 0 || i == attempts) return child;
        wait_milliseconds(100);
    }
}

// rc and its daemons are like others.
void leave_to_the_kernel() {
    const int score = ::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
    if (score < 0) return;
    const ssize_t written = ::write(score, "0", 1);
    static_cast<void>(written);
    ::close(score);
}

}  // namespace

long now() {
    struct timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    // On 32 bits, some C libraries count in 64.
    const long long seconds = time.tv_sec;
    return static_cast<long>(seconds);
}

void wait_milliseconds(unsigned milliseconds) {
    ::poll(nullptr, 0, static_cast<int>(milliseconds));
}

int run_program(const char* const* words, unsigned limit) {
    const pid_t child = fork_patiently();
    if (child < 0) return not_started;
    if (child == 0) {
        ::setpgid(0, 0);
        handle_signals(SIG_DFL);
        discard_standard_streams();
        leave_to_the_kernel();
        ::execv(words[0], const_cast<char* const*>(words));
        ::_exit(not_started);
    }
    constexpr unsigned step = 20;
    int status = 0;
    for (unsigned waited = 0; ::waitpid(child, &status, limit == 0 ? 0 : WNOHANG) == 0;
         waited += step) {
        // The group: a shell's children too.
        if (waited >= limit) ::kill(-child, SIGKILL);
        wait_milliseconds(step);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int lock_file(const char* path, bool wait) {
    const int file = ::open(path, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0) return -1;
    // Kernels before 2.6.23 ignore O_CLOEXEC; a daemon that inherits the lock would keep it.
    ::fcntl(file, F_SETFD, FD_CLOEXEC);
    while (::flock(file, wait ? LOCK_EX : LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        const int reason = errno;
        ::close(file);
        errno = reason;
        return -1;
    }
    return file;
}

void unlock_file(int file) {
    if (file < 0) return;
    ::flock(file, LOCK_UN);
    ::close(file);
}

std::optional<int> Worker::detach() {
    int ends[2];
    if (::pipe(ends) != 0) {
        std::fprintf(stderr, "nvram: no pipe can be opened: %s; nothing was changed\n",
                     std::strerror(errno));
        return status_error;
    }
    std::fflush(stdout);
    const pid_t worker = fork_patiently();
    if (worker < 0) {
        std::fprintf(stderr, "nvram: no process can be started: %s; nothing was changed\n",
                     std::strerror(errno));
        ::close(ends[0]);
        ::close(ends[1]);
        return status_error;
    }
    if (worker == 0) {
        ::setsid();
        handle_signals(SIG_IGN);
        discard_standard_streams();
        keep_when_memory_runs_out();
        ::close(ends[0]);
        // A reader that has stopped reading must not stop the worker.
        ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
        ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
        pipe_ = ends[1];
        return std::nullopt;
    }
    began_ = true;
    ::close(ends[1]);
    // The status is the byte after a zero byte; a worker that was killed says none.
    int status = status_error;
    bool ended = false;
    char text[512];
    for (ssize_t count = 0; (count = ::read(ends[0], text, sizeof text)) != 0;) {
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) break;
        for (ssize_t i = 0; i < count; ++i) {
            if (ended)
                status = static_cast<unsigned char>(text[i]);
            else if (text[i] == '\0')
                ended = true;
            else
                std::putchar(text[i]);
        }
        std::fflush(stdout);
    }
    ::close(ends[0]);
    return status;
}

void Worker::say(std::string_view line) const {
    std::string text;
    if (json_) {
        text += '{';
        append_json_name(text, "message");
        append_json(text, line);
        text += "}\n";
    } else {
        text.append(line) += '\n';
    }
    const ssize_t written = ::write(pipe_, text.data(), text.size());
    static_cast<void>(written);
}

void Worker::release(int status) {
    const char end[] = {'\0', static_cast<char>(status)};
    const ssize_t written = ::write(pipe_, end, sizeof end);
    static_cast<void>(written);
    ::close(pipe_);
    pipe_ = -1;
}

}  // namespace nvram
