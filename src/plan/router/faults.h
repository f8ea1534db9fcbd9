// Calls of the recording platform that fail: the nth of a kind, or all from the nth on.
#ifndef RC_PLAN_ROUTER_FAULTS_H
#define RC_PLAN_ROUTER_FAULTS_H

#include <stddef.h>

#include <array>

// What a machine can refuse. A read or write is that of an open file's block, not of a line; a
// refused shell line was not started; a refused write is a full disk's.
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
    // How often each kind was called so far.
    std::array<int, fallible_kinds> calls = {};
    // The fault: the first call that fails, counted from 1, and whether it is the only one. 0: none
    // fails.
    Fallible kind = Fallible::OpenToRead;
    int at = 0;
    bool once = true;
    // How many calls have failed.
    int failed = 0;
};

#endif
