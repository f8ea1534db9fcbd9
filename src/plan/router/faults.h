// Calls of the recording platform that fail: the nth of a kind, or all from the nth on.
#ifndef RC_PLAN_ROUTER_FAULTS_H
#define RC_PLAN_ROUTER_FAULTS_H

#include <stddef.h>

#include <array>

// Calls that can fail. A read or write is that of an open file's block, not of a line; a failed
// shell line was not started; a failed write means a full disk.
enum class Fallible {
    OpenToRead,
    OpenToWrite,
    Read,
    Write,
    Remove,
    Shell,
    Pipe,
    Socket,
    HostLookUp,
    KernelLog,
    SettingsLoad,
    SettingGet,
    SettingSet,
    SettingsCommit,
};
inline constexpr size_t fallible_kinds = 14;

struct Faults {
    // The number of calls of each kind so far.
    std::array<int, fallible_kinds> calls = {};
    // The fault: the first call that fails, counted from 1, and whether it is the only one. 0: no
    // call fails.
    Fallible kind = Fallible::OpenToRead;
    int at = 0;
    bool once = true;
    // The number of calls that have failed.
    int failed = 0;
};

#endif
