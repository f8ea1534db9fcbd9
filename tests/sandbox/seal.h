// Sealing: namespaces of a run's own, so that nothing that rc does reaches the machine.
#ifndef RC_TESTS_SANDBOX_SEAL_H
#define RC_TESTS_SANDBOX_SEAL_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "plan/router/world.h"

// Gives this process mounts of its own, as the root of a user namespace where it is no root
// already, with an empty file system in memory on top of private_folder. It goes with the process.
// `shared`, unless empty, is a folder of the machine that stays in sight as shared_folder.
// What is in the way, or "".
inline constexpr const char* private_folder = "/tmp";
inline constexpr const char* shared_folder = "/tmp/shared";
std::string enter_private_mounts(const std::string& shared);

struct SealedEnd {
    enum Kind { Ended, Killed, TimedOut, NotPermitted, NoInterface, Failed } kind = Failed;
    int signal = 0;  // the one that ended rc
};

// A run takes milliseconds, and on a busy machine seconds; one that takes this many seconds hangs.
inline constexpr int usual_deadline = 300;

// Calls inside in the root folder, as the first process of new mount, network, process and IPC
// namespaces; with it ends whatever it started. It has ended well when it returns 0. The world
// tells which interfaces there are. The shared folder, unless empty, has its own path in the root
// too.
SealedEnd run_inside(const std::string& root, const World& world, const std::string& shared,
                     int deadline, const std::function<int()>& inside);

// Runs /usr/sbin/rc with these words (argv[0] first) and nothing but this environment, in the root
// folder, sealed the same way.
SealedEnd run_sealed(const std::string& root, const std::vector<std::string>& words,
                     const std::vector<std::string>& environment, const World& world,
                     const std::string& shared, int deadline);

#endif
