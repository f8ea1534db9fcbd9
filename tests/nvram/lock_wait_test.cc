// A wait for a lock that another process holds: reported once it is long, and waited on.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "nvram/verbs.h"
#include "temporary_folder.h"

namespace {

// Sets a=2 with waits of a second reported, while a child holds the lock for this long.
std::string said_while_locked(const TemporaryFolder& folder, std::chrono::milliseconds held) {
    const std::string path = folder / "tmp/nvram.lock";
    const int lock = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(flock(lock, LOCK_EX), 0);
    const pid_t child = fork();
    if (child == 0) {
        std::this_thread::sleep_for(held);
        _exit(0);
    }
    close(lock);
    testing::internal::CaptureStderr();
    nvram::report_lock_wait("set", 1);
    nvram::Store store({.working = folder / "tmp/nvram",
                        .factory = folder / "etc/default",
                        .flash = folder / "flash/nvram"});
    EXPECT_TRUE(store.change({{"a", "2"}}));
    // A report after the wait would end this sleep.
    EXPECT_EQ(sleep(2), 0U);
    nvram::io::lock_wait = nullptr;
    signal(SIGALRM, SIG_DFL);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    return testing::internal::GetCapturedStderr();
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
