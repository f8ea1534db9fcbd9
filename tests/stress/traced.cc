// A tracer that makes system calls of a program fail.

#include "traced.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stddef.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>

#include <string_view>

namespace stress {

#ifdef __x86_64__

namespace {

struct Row {
    long number;
    SystemCall kind;
    // The index of the path argument; -1: none.
    int path = -1;
    // A call that checks whether a file exists never fails here, because rc takes a failure as
    // "no".
    bool fails = true;
};

constexpr Row rows[] = {
    {.number = SYS_open, .kind = SystemCall::OpenToRead, .path = 0},
    {.number = SYS_openat, .kind = SystemCall::OpenToRead, .path = 1},
    {.number = SYS_access, .kind = SystemCall::Status, .path = 0, .fails = false},
    {.number = SYS_read, .kind = SystemCall::Read},
    {.number = SYS_write, .kind = SystemCall::Write},
    {.number = SYS_stat, .kind = SystemCall::Status, .path = 0},
    {.number = SYS_newfstatat, .kind = SystemCall::Status, .path = 1},
    {.number = SYS_fstat, .kind = SystemCall::Status},
    {.number = SYS_clone, .kind = SystemCall::Fork},
    {.number = SYS_clone3, .kind = SystemCall::Fork},
    {.number = SYS_vfork, .kind = SystemCall::Fork},
    {.number = SYS_wait4, .kind = SystemCall::Wait},
    {.number = SYS_pipe, .kind = SystemCall::Pipe},
    {.number = SYS_pipe2, .kind = SystemCall::Pipe},
    {.number = SYS_fsync, .kind = SystemCall::Sync},
    {.number = SYS_rename, .kind = SystemCall::Rename, .path = 0},
    {.number = SYS_unlink, .kind = SystemCall::Remove, .path = 0},
    {.number = SYS_flock, .kind = SystemCall::Lock},
    {.number = SYS_mkdir, .kind = SystemCall::MakeFolder, .path = 0},
    {.number = SYS_socket, .kind = SystemCall::Socket},
};

const Row* row_of(unsigned long long number) {
    for (const Row& row : rows)
        if (static_cast<unsigned long long>(row.number) == number) return &row;
    return nullptr;
}

// The beginning of a text in the child's memory.
std::string_view text_of(pid_t child, unsigned long long address, std::array<char, 64>& text) {
    const iovec here = {.iov_base = text.data(), .iov_len = text.size() - 1};
    // An address in the child is only a number here.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    const iovec there = {.iov_base = reinterpret_cast<void*>(address), .iov_len = here.iov_len};
    const ssize_t length = process_vm_readv(child, &here, 1, &there, 1, 0);
    text[length > 0 ? static_cast<size_t>(length) : 0] = '\0';
    return text.data();
}

// The loader opens files of the machine; the program itself begins with its first file of the
// router.
bool is_of_router(std::string_view path) {
    for (const std::string_view folder : {"/tmp/", "/var/", "/flash/", "/proc/", "/dev/mtd0"})
        if (path.starts_with(folder)) return true;
    return false;
}

class Tracer {
  public:
    Tracer(pid_t child, const SystemFault& fault) : child_(child), fault_(fault) {}

    std::optional<TracedEnd> run() {
        int status = 0;
        if (waitpid(child_, &status, 0) != child_) return std::nullopt;
        // The stop at its execve(2); a child that may not be traced has ended.
        if (!WIFSTOPPED(status)) return std::nullopt;
        ptrace(PTRACE_SETOPTIONS, child_, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
        int signal = 0;
        for (;;) {
            if (ptrace(PTRACE_SYSCALL, child_, nullptr, signal) != 0) return std::nullopt;
            if (waitpid(child_, &status, 0) != child_) return std::nullopt;
            if (!WIFSTOPPED(status)) break;
            signal = 0;
            if (WSTOPSIG(status) == (SIGTRAP | 0x80))
                at_call();
            else if (WSTOPSIG(status) != SIGTRAP)
                signal = WSTOPSIG(status);
        }
        end_.status = status;
        return end_;
    }

  private:
    void at_call() {
        __ptrace_syscall_info info = {};
        ptrace(PTRACE_GET_SYSCALL_INFO, child_, sizeof info, &info);
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY) at_entry(info);
        if (info.op == PTRACE_SYSCALL_INFO_EXIT && failing_) {
            failing_ = false;
            put(offsetof(user_regs_struct, rax), static_cast<unsigned long long>(-fault_.error));
        }
    }

    void at_entry(const __ptrace_syscall_info& info) {
        const Row* row = row_of(info.entry.nr);
        if (!row) return;
        if (!begun_) {
            std::array<char, 64> text = {};
            if (row->path < 0 || !is_of_router(text_of(child_, info.entry.args[row->path], text)))
                return;
            begun_ = true;
        }
        if (!row->fails) return;
        const SystemCall kind = kind_of(*row, info);
        const int number = ++end_.calls[static_cast<size_t>(kind)];
        if (fault_.at == 0 || kind != fault_.kind || number < fault_.at) return;
        if (fault_.once && number > fault_.at) return;
        end_.failed++;
        if (fault_.error == one_byte) {
            if (info.entry.args[2] > 1) put(offsetof(user_regs_struct, rdx), 1);
            return;
        }
        // An invalid call number: the kernel does nothing, and the result is replaced afterwards.
        put(offsetof(user_regs_struct, orig_rax), ~0ULL);
        failing_ = true;
    }

    static SystemCall kind_of(const Row& row, const __ptrace_syscall_info& info) {
        if (row.kind != SystemCall::OpenToRead) return row.kind;
        const unsigned long long flags = info.entry.args[row.path + 1];
        return (flags & O_ACCMODE) == O_RDONLY ? SystemCall::OpenToRead : SystemCall::OpenToWrite;
    }

    void put(size_t reg, unsigned long long value) { ptrace(PTRACE_POKEUSER, child_, reg, value); }

    pid_t child_;
    SystemFault fault_;
    TracedEnd end_;
    bool begun_ = false;
    bool failing_ = false;
};

}  // namespace

std::optional<TracedEnd> run_traced(pid_t child, const SystemFault& fault) {
    return Tracer(child, fault).run();
}

#else

std::optional<TracedEnd> run_traced(pid_t child, const SystemFault&) {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return std::nullopt;
}

#endif

}  // namespace stress
