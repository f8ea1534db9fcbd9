// A wait for a lock that another process holds: reported once it is long, and waited on.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "nvram/verbs.h"
#include "temporary_folder.h"

namespace {

// Sets a=2 in a child that reports waits of a second; the lock is held for this long.
std::string said_while_locked(const TemporaryFolder& folder, std::chrono::milliseconds held) {
    const int lock = open((folder / "tmp/nvram.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(flock(lock, LOCK_EX), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(lock);
        const int said = open((folder / "said").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(said, STDERR_FILENO);
        nvram::report_lock_wait("set", 1);
        nvram::Store store({.working = folder / "tmp/nvram",
                            .factory = folder / "etc/default",
                            .flash = folder / "flash/nvram"});
        const bool done = store.change({{"a", "2"}});
        // A report after the wait would end this sleep.
        const bool quiet = sleep(2) == 0;
        _exit(done && quiet ? 0 : 1);
    }
    std::this_thread::sleep_for(held);
    close(lock);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return folder.read("said");
}

TEST(LockWait, IsReportedWhenItIsLong) {
    const TemporaryFolder folder;
    folder.write("tmp/nvram", "a=1\n");
    EXPECT_EQ(said_while_locked(folder, std::chrono::milliseconds(2500)),
              "nvram: set: " + folder.path() +
                  "/tmp/nvram.lock: held by another process for 1 seconds; still waiting\n");
    EXPECT_EQ(folder.read("tmp/nvram"), "a=2\n");
}

TEST(LockWait, IsNotReportedWhenItIsShort) {
    const TemporaryFolder folder;
    folder.write("tmp/nvram", "a=1\n");
    EXPECT_EQ(said_while_locked(folder, std::chrono::milliseconds(200)), "");
    EXPECT_EQ(folder.read("tmp/nvram"), "a=2\n");
}

}  // namespace
