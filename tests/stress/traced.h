// A tracer that makes a program's system calls fail: the nth of a kind, or all from the nth on. The
// program's children are not traced.
#ifndef RC_TESTS_STRESS_TRACED_H
#define RC_TESTS_STRESS_TRACED_H

#include <sys/types.h>

#include <array>
#include <optional>

namespace stress {

enum class SystemCall {
    OpenToRead,
    OpenToWrite,
    Read,
    Write,
    Status,
    Fork,
    Wait,
    Pipe,
    Sync,
    Rename,
    Remove,
    Lock,
    MakeFolder,
    Socket,
};
inline constexpr size_t system_call_kinds = 14;

// Instead of an error: a read or write of one byte.
inline constexpr int one_byte = -1;

struct SystemFault {
    SystemCall kind = SystemCall::OpenToRead;
    int at = 0;  // counted from 1, beginning at the first access to a file of the router; 0: none
    bool once = true;
    int error = 0;  // errno, or one_byte
};

struct TracedEnd {
    int status = 0;  // as wait(2) gives it
    std::array<int, system_call_kinds> calls = {};
    int failed = 0;
};

// Runs a child that has requested tracing to its end. nullopt if tracing is not permitted or not
// implemented for this processor.
std::optional<TracedEnd> run_traced(pid_t child, const SystemFault& fault);

}  // namespace stress

#endif
