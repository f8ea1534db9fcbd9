// Sealing: private namespaces for a run, so that rc cannot affect the machine.
#ifndef RC_TESTS_SANDBOX_SEAL_H
#define RC_TESTS_SANDBOX_SEAL_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "plan/router/world.h"

// Gives this process private mounts, in a new user namespace unless it is root, with an empty file
// system in memory on private_folder, which exists as long as the process. `shared`, unless empty,
// is a folder of the machine that stays visible as shared_folder. Returns the obstacle, or "".
inline constexpr const char* private_folder = "/tmp";
inline constexpr const char* shared_folder = "/tmp/shared";
std::string enter_private_mounts(const std::string& shared);

struct SealedEnd {
    enum Kind { Ended, Killed, TimedOut, NotPermitted, NoInterface, Failed } kind = Failed;
    int signal = 0;  // the one that killed rc
};

// A run takes milliseconds, and on a busy machine seconds; one that takes this many seconds hangs.
inline constexpr int usual_deadline = 300;

// Calls inside in the root folder, as the first process of new mount, network, process and IPC
// namespaces; when it ends, everything that it started is killed. It returns 0 on success. The
// world gives the interfaces. The shared folder, unless empty, has the same path in the root.
SealedEnd run_inside(const std::string& root, const World& world, const std::string& shared,
                     int deadline, const std::function<int()>& inside);

// Runs /usr/sbin/rc with these words (argv[0] first) and only this environment, in the root folder,
// sealed in the same way.
SealedEnd run_sealed(const std::string& root, const std::vector<std::string>& words,
                     const std::vector<std::string>& environment, const World& world,
                     const std::string& shared, int deadline);

#endif
