// The store's system calls if the system interrupts or refuses them: the linker replaces the C
// library's functions by these (--wrap).
#include "libnvram/store_io.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <deque>

#include "libnvram/store.h"
#include "temporary_folder.h"

namespace {

// The results of the next calls: failure with this errno, or, for 0, the system's result.
struct Refusals {
    std::deque<int> next;
    int calls = 0;
};

Refusals reads;
Refusals writes;
Refusals locks;
Refusals syncs;
Refusals stats;

bool refused(Refusals& refusals) {
    ++refusals.calls;
    if (refusals.next.empty()) return false;
    const int reason = refusals.next.front();
    refusals.next.pop_front();
    if (reason == 0) return false;
    errno = reason;
    return true;
}

void refuse(Refusals& refusals, std::deque<int> reasons) {
    refusals = {.next = std::move(reasons), .calls = 0};
}

}  // namespace

extern "C" {
ssize_t __real_read(int file, void* bytes, size_t count);
ssize_t __real_write(int file, const void* bytes, size_t count);
int __real_flock(int file, int operation);
int __real_fsync(int file);
int __real_fstat(int file, struct stat* status);

ssize_t __wrap_read(int file, void* bytes, size_t count) {
    return refused(reads) ? -1 : __real_read(file, bytes, count);
}
// A partial write, as on a full disk: ten bytes at a time.
ssize_t __wrap_write(int file, const void* bytes, size_t count) {
    return refused(writes) ? -1 : __real_write(file, bytes, count < 10 ? count : 10);
}
int __wrap_flock(int file, int operation) {
    return refused(locks) ? -1 : __real_flock(file, operation);
}
int __wrap_fsync(int file) {
    return refused(syncs) ? -1 : __real_fsync(file);
}
int __wrap_fstat(int file, struct stat* status) {
    return refused(stats) ? -1 : __real_fstat(file, status);
}
}

namespace {

class Io : public testing::Test {
  protected:
    void SetUp() override {
        for (Refusals* refusals : {&reads, &writes, &locks, &syncs, &stats}) refuse(*refusals, {});
        folder.write("tmp/nvram", "a=1\n");
    }

    TemporaryFolder folder;
    nvram::Store store{nvram::Places{.working = folder / "tmp/nvram",
                                     .factory = folder / "etc/default",
                                     .flash = folder / "flash/nvram"}};
};

TEST_F(Io, AnInterruptedCallIsMadeAgain) {
    refuse(reads, {EINTR, EINTR});
    refuse(writes, {EINTR, 0, EINTR});
    refuse(locks, {EINTR, EINTR, EINTR});
    EXPECT_TRUE(store.change({{"b", "a value of some length"}}));
    EXPECT_EQ(folder.read("tmp/nvram"), "a=1\nb=a value of some length\n");
    EXPECT_TRUE(reads.next.empty() && writes.next.empty());
    // Two locks, and three calls again.
    EXPECT_EQ(locks.calls, 5);
}

TEST_F(Io, ALockThatCannotBeHadChangesNothing) {
    refuse(locks, {ENOLCK});
    EXPECT_FALSE(store.change({{"a", "2"}}));
    EXPECT_EQ(errno, ENOLCK);
    EXPECT_EQ(store.failed_path(), folder / "tmp/nvram.lock");
    EXPECT_EQ(folder.read("tmp/nvram"), "a=1\n");
}

TEST_F(Io, ADiskThatFillsUpKeepsTheOldFile) {
    refuse(writes, {0, ENOSPC});
    EXPECT_FALSE(store.change({{"b", "a value of some length"}}));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(store.failed_path(), folder / "tmp/nvram");
    EXPECT_EQ(folder.read("tmp/nvram"), "a=1\n");
    EXPECT_FALSE(folder.has_temporary_files("tmp")) << "nothing is left behind";
}

// With a 32-bit clock, files of the time after 2038 have no status.
TEST_F(Io, AFileOfATimeBeyondTheClockIsReadWithoutCaching) {
    folder.write("etc/default", "a=factory\n");
    // Each open is followed by a look at the file's type; the third is about its identity.
    for (int time = 0; time < 2; ++time) {
        refuse(stats, {EOVERFLOW, EOVERFLOW, EOVERFLOW});
        ASSERT_NE(store.working(), nullptr);
        EXPECT_EQ(store.working()->get("a"), "1");
    }
    refuse(stats, std::deque<int>(100, EOVERFLOW));
    EXPECT_TRUE(store.change({{"a", "2"}}));
    EXPECT_TRUE(store.commit());
    EXPECT_TRUE(store.load());
    EXPECT_EQ(folder.read("tmp/nvram"), "a=2\n");
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(nvram::io::open_to_read((folder / "fifo").c_str()), -1);
    EXPECT_EQ(errno, ENXIO);
}

// Returns the size if the working copy is marked as sorted.
std::size_t marked_size(const std::string& path) {
    const int file = nvram::io::open_to_read(path.c_str());
    const std::size_t size = nvram::io::marked_size(file);
    nvram::io::close(file);
    return size;
}

TEST_F(Io, OnlyWhatTheStoreWroteIsMarkedAsSorted) {
    const std::string path = folder / "tmp/nvram";
    EXPECT_EQ(marked_size(path), 0U);
    // On a busy machine the rename may come so late after the mark that it does not count.
    const auto change = [&] {
        for (int value = 10; marked_size(path) == 0 && value < 100; ++value)
            ASSERT_TRUE(store.change({{"b", std::to_string(value)}}));
        EXPECT_EQ(marked_size(path), 9U);
    };
    change();
    folder.append("tmp/nvram", "a=3\n");
    EXPECT_EQ(marked_size(path), 0U);
    change();
    folder.write("tmp/nvram", "b=10\na=2\n");
    EXPECT_EQ(marked_size(path), 0U);
    change();

    // As touch -r, cp -p and tar do it: the times of the file as the store had written it.
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    timespec times[] = {status.st_atim, {.tv_sec = status.st_mtim.tv_sec - 60, .tv_nsec = 9}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    EXPECT_EQ(marked_size(path), 0U);
    times[1].tv_sec += 3600;
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    EXPECT_EQ(marked_size(path), 0U);
}

TEST_F(Io, RemovesOnlyWhatEndedProcessesLeftOfTheFile) {
    // Above the kernel's largest process number, 4194304.
    const std::string ended = "99999999";
    const std::string running = std::to_string(getpid());
    const std::vector<std::string> others = {
        "tmp/nvram",          "tmp/nvramx" + ended + ".new",   "tmp/nvram." + ended + ".newer",
        "tmp/nvram.x.new",    "tmp/nvram." + running + ".new", "tmp/nvram.0.new",
        "tmp/nvram." + ended, "tmp/other." + ended + ".new",   "tmp/nvra",
        "tmp/nvram.-1.new"};
    for (const std::string& name : others) folder.write(name, "a=1\n");
    folder.write("tmp/nvram." + ended + ".new", "a=");
    nvram::io::remove_leftovers((folder / "tmp").c_str(), "nvram");
    EXPECT_EQ(folder.read("tmp/nvram." + ended + ".new"), "(none)");
    for (const std::string& name : others) EXPECT_EQ(folder.read(name), "a=1\n") << name;
}

TEST_F(Io, AReadThatFailsIsNoEmptyImage) {
    refuse(reads, {EIO});
    EXPECT_FALSE(store.change({{"b", "2"}}));
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(folder.read("tmp/nvram"), "a=1\n");
}

TEST_F(Io, AFileThatTheKernelTellsNothingOfIsNotRead) {
    refuse(stats, {EIO});
    EXPECT_EQ(store.working(), nullptr);
    EXPECT_EQ(errno, EIO);
    ASSERT_NE(store.working(), nullptr);
    EXPECT_EQ(store.working()->get("a"), "1");
}

// A file system may not support fsync of folders, and a read-only one has nothing to write.
TEST_F(Io, AFoldersSyncMayBeUnknownButNotFail) {
    for (const int reason : {EINVAL, EROFS}) {
        refuse(syncs, {reason});
        EXPECT_TRUE(nvram::io::sync_folder(folder.path().c_str())) << reason;
    }
    refuse(syncs, {EIO});
    EXPECT_FALSE(nvram::io::sync_folder(folder.path().c_str()));
    EXPECT_EQ(errno, EIO);
    EXPECT_FALSE(nvram::io::sync_folder((folder / "none").c_str()));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Io, ACommitWhoseBytesAreNotOnTheDiskFails) {
    refuse(syncs, {EIO});
    EXPECT_FALSE(store.commit());
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(folder.read("flash/nvram.a"), "(none)");
    EXPECT_FALSE(folder.has_temporary_files("flash"));
    EXPECT_TRUE(store.commit());
    EXPECT_NE(folder.read("flash/nvram.a"), "(none)");
}

}  // namespace
