// Processes of the running router: rc's, the probes', and a worker that outlives the command.
#ifndef RC_NVRAM_PROCESS_H
#define RC_NVRAM_PROCESS_H

#include <optional>
#include <string>
#include <string_view>

namespace nvram {

// Seconds of a clock that setting the date does not move.
long now();

void wait_milliseconds(unsigned milliseconds);

// run_program: the program could not be started. Shells say so with this number, too.
inline constexpr int not_started = 127;

// Runs a program to its end, without input, its output discarded, all signals as a new process has
// them. Returns its exit status; -1 if it was killed, which happens after limit milliseconds unless
// limit is 0; not_started, if there was no process for it for five seconds, or no such program.
int run_program(const char* const* words, unsigned limit);

// A file opened and locked for this process and its children, while it lives. -1 with errno set;
// EWOULDBLOCK: another process has the lock, and wait is false.
int lock_file(const char* path, bool wait);

// Releases it, in other processes that have inherited it too, and closes the file.
void unlock_file(int file);

// A process that goes on when the terminal, the shell or the web server that started it is gone: in
// its own session, deaf to all signals but KILL, and not chosen when memory runs out.
class Worker {
  public:
    // json: what it says are objects with a member "message".
    Worker(std::string_view root, bool json)
        : rc_(std::string(root) + "/usr/sbin/rc"), json_(json) {}

    // The path of rc.
    const std::string& rc() const { return rc_; }

    // Forks. In the worker: nullopt. In the caller: prints what the worker says until it is
    // released, and returns the status; status_error after a message if it cannot fork.
    std::optional<int> detach();

    // In the caller, after detach(): whether there was a worker.
    bool began() const { return began_; }

    // One line for the caller's standard output; lost if nobody reads.
    void say(std::string_view line) const;

    // Ends the caller with this exit status; the worker goes on.
    void release(int status);

    bool detached() const { return pipe_ >= 0; }

  private:
    std::string rc_;
    bool json_;
    int pipe_ = -1;
    bool began_ = false;
};

}  // namespace nvram

#endif
