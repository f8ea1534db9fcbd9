// The store over the simulated disk: what is told, and left, if calls fail.
#include "libnvram/store.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "store_kit.h"

namespace {

// Runs an operation once for each call it makes, that call failing; then everything has to be as
// before, or, when the store could do without the call, as after.
template <typename Operation>
void fail_each_call(const DiskState& start, int needed_calls, const Operation& operation) {
    int failures = 0;
    for (int call = 1;; ++call) {
        SimulatedDisk& simulated = SimulatedDisk::reset();
        simulated.state = start;
        simulated.fail_at = call;
        simulated.fail_with = ENOSPC;
        {
            nvram::Store store(places);
            const bool succeeded = operation(store);
            if (simulated.operations < call) {
                EXPECT_TRUE(succeeded);
                break;
            }
            if (!succeeded) {
                ++failures;
                EXPECT_EQ(working(), *start.content("/tmp/nvram")) << call;
                EXPECT_FALSE(store.failed_path().empty()) << call;
            }
        }
        EXPECT_EQ(simulated.open_files(), 0) << call;
        EXPECT_FALSE(any_temporary_file()) << call;
        EXPECT_TRUE(number_in("/flash/nvram.a") == 1 || number_in("/flash/nvram.b") == 2) << call;
    }
    EXPECT_EQ(failures, needed_calls);
}

// A generation that cannot be read may be the newest one: the older one is neither loaded instead
// nor is a slot written.
TEST(Store, TakesNoSlotForDamagedThatCannotBeRead) {
    for (const int reason : {EIO, EMFILE, ENOMEM, EACCES}) {
        // Both locks, open a, read a, open b, read b.
        for (int call = 3; call <= 6; ++call) {
            const std::string slot = call <= 4 ? "/flash/nvram.a" : "/flash/nvram.b";
            SimulatedDisk& simulated = SimulatedDisk::reset();
            simulated.state.place("/etc/default", "a=factory\n");
            simulated.state.place("/flash/nvram.a", generation(1, "a=1\n"));
            simulated.state.place("/flash/nvram.b", generation(2, "a=2\n"));
            simulated.fail_at = call;
            simulated.fail_with = reason;
            nvram::Store store(places);
            EXPECT_FALSE(store.load());
            EXPECT_EQ(errno, reason);
            EXPECT_EQ(store.failed_path(), slot);
            EXPECT_EQ(working(), "(none)");

            simulated.state.place("/tmp/nvram", "a=new\n");
            // The same after the look for a trial, and the working copy's open and read.
            simulated.fail_at = simulated.operations + call + 3;
            EXPECT_FALSE(store.commit());
            EXPECT_EQ(errno, reason);
            EXPECT_EQ(store.failed_path(), slot);
            EXPECT_EQ(number_in("/flash/nvram.a"), 1U);
            EXPECT_EQ(number_in("/flash/nvram.b"), 2U);
            EXPECT_EQ(simulated.open_files(), 0);
        }
    }
}

TEST(Store, TakesNoSlotForDamagedForWantOfMemory) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/etc/default", "a=factory\n");
    simulated.state.place("/flash/nvram.a", generation(1, "a=1\n"));
    simulated.state.place("/flash/nvram.b", generation(2, "a=" + std::string(5000, '2') + "\n"));
    simulated.memory = 20000;
    nvram::Store store(places);
    EXPECT_FALSE(store.load());
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(store.failed_path(), "/flash/nvram.b");
    EXPECT_EQ(working(), "(none)");
    bool kept = false;
    EXPECT_TRUE(store.restore_factory(&kept));
    EXPECT_TRUE(kept);
    EXPECT_FALSE(store.commit());
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(number_in("/flash/nvram.a"), 1U);
    EXPECT_EQ(number_in("/flash/nvram.b"), 2U);
}

TEST(Store, SaysWhatIsInFlashWhenACommitFails) {
    DiskState start;
    SimulatedDisk::reset();
    start.place("/tmp/nvram", "a=new\n");
    start.place("/flash/nvram.a", generation(1, "a=1\n"));
    int in_flash = 0;
    for (int call = 1;; ++call) {
        SimulatedDisk& simulated = SimulatedDisk::reset();
        simulated.state = start;
        simulated.fail_at = call;
        simulated.fail_with = EIO;
        nvram::Store store(places);
        const bool done = store.commit();
        EXPECT_EQ(store.in_flash(), number_in("/flash/nvram.b") == 2) << call;
        if (simulated.operations < call) break;
        if (!done && store.in_flash()) {
            EXPECT_EQ(store.failed_path(), "/flash");
            ++in_flash;
        }
    }
    EXPECT_EQ(in_flash, 1);
}

TEST(Store, NamesTheLockThatCannotBeHad) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "a=1\n");
    disk().fail_at = 1;
    disk().fail_with = EACCES;
    nvram::Store store(places);
    EXPECT_FALSE(store.change({{"a", "2"}}));
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(store.failed_path(), "/tmp/nvram.lock");
}

TEST(Store, LeavesEverythingAsItWasWhenACallFails) {
    SimulatedDisk::reset();
    DiskState start;
    start.place("/tmp/nvram", "a=1\n");
    start.place("/etc/default", "a=factory\n");
    start.place("/flash/nvram.a", generation(1, "a=1\n"));
    start.place("/flash/nvram.b", generation(2, "a=2\n"));
    // Both locks, open and read the working copy; create, write, rename.
    fail_each_call(start, 7, [](nvram::Store& store) { return store.change({{"a", "new"}}); });
    fail_each_call(start, 7, [](nvram::Store& store) { return store.set({"a", "new"}); });
    // Both locks, the look for a trial; open and read the working copy and both generations;
    // create, write, sync, rename, sync the folder.
    fail_each_call(start, 14, [](nvram::Store& store) { return store.commit(); });
    // Both locks; create, write, rename.
    fail_each_call(start, 5,
                   [](nvram::Store& store) { return store.replace(nvram::Image("a=new\n")); });
    // Both locks; open and read both generations; create, write, rename.
    fail_each_call(start, 9, [](nvram::Store& store) { return store.load(); });
}

// The first commit makes flash's folder; each call that fails is named, and the working copy stays.
TEST(Store, NamesTheCallThatFailsAtTheFirstCommit) {
    std::vector<std::string> failed;
    for (int call = 1;; ++call) {
        SimulatedDisk& simulated = SimulatedDisk::reset();
        simulated.state.place("/tmp/nvram", "a=1\n");
        simulated.fail_at = call;
        simulated.fail_with = EIO;
        nvram::Store store(places);
        const bool succeeded = store.commit();
        const int reason = errno;
        EXPECT_EQ(working(), "a=1\n") << call;
        if (simulated.operations < call) {
            EXPECT_TRUE(succeeded);
            break;
        }
        if (succeeded) continue;
        EXPECT_EQ(reason, EIO) << call;
        failed.push_back(store.failed_path());
    }
    // Both locks, the look for a trial, open, read; open both slots; create in a folder that is not
    // there, make it; create, write, sync, rename; sync the folder and the one that it is in.
    EXPECT_EQ(failed, (std::vector<std::string>{
                          "/tmp/nvram.lock", "/tmp/nvram", "/tmp/nvram.trial", "/tmp/nvram",
                          "/tmp/nvram", "/flash/nvram.a", "/flash/nvram.b", "/flash/nvram.a",
                          "/flash/nvram.a", "/flash/nvram.a", "/flash/nvram.a", "/flash/nvram.a",
                          "/flash/nvram.a", "/flash", "/"}));
}

// Each call of a restoration that fails leaves the old working copy or the factory's.
TEST(Store, ARestorationThatFailsIsToldSo) {
    std::vector<std::string> failed;
    for (int call = 1;; ++call) {
        SimulatedDisk& simulated = SimulatedDisk::reset();
        simulated.state.place("/tmp/nvram", "a=1\n");
        simulated.state.place("/etc/default", "f=1\n");
        simulated.state.place("/flash/nvram.a", generation(1, "a=1\n"));
        simulated.fail_at = call;
        simulated.fail_with = EIO;
        nvram::Store store(places);
        const bool succeeded = store.restore_factory();
        EXPECT_TRUE(working() == "a=1\n" || working() == "f=1\n") << call;
        EXPECT_EQ(number_in("/flash/nvram.a"), 1U) << call;
        if (simulated.operations < call) {
            EXPECT_TRUE(succeeded);
            break;
        }
        if (!succeeded) failed.push_back(store.failed_path());
    }
    // Both locks, the look for a trial; open and read the factory's; create, write, rename;
    // then as a commit.
    EXPECT_EQ(failed, (std::vector<std::string>{
                          "/tmp/nvram.lock", "/tmp/nvram", "/tmp/nvram.trial", "/etc/default",
                          "/etc/default", "/tmp/nvram", "/tmp/nvram", "/tmp/nvram", "/tmp/nvram",
                          "/tmp/nvram", "/flash/nvram.a", "/flash/nvram.a", "/flash/nvram.b",
                          "/flash/nvram.b", "/flash/nvram.b", "/flash/nvram.b", "/flash/nvram.b",
                          "/flash"}));
}

TEST(Store, RestoresTheFactorySettingsThoughFlashFails) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/etc/default", "f=1\n");
    nvram::Store store(nvram::Places{
        .working = "/tmp/nvram", .factory = "/etc/default", .flash = "/no/such/nvram"});
    EXPECT_FALSE(store.restore_factory());
    EXPECT_EQ(working(), "f=1\n");
}

TEST(Store, AFailedLoadKeepsTheWorkingCopy) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/tmp/nvram", "a=1\n");
    simulated.state.place("/flash/nvram.a", "damaged");
    nvram::Store store(places);
    EXPECT_FALSE(store.load());
    EXPECT_EQ(working(), "a=1\n");
}

// Without a working copy a load has failed, and the user's settings may well be in flash.
TEST(Store, AFailedLoadIsNoFactoryReset) {
    const std::string whole = generation(1, "a=1\n");
    const std::string damaged = whole + "x";
    struct Row {
        std::string a, b;  // "-": no such file
        int fail_at;       // 0: no call fails
        bool kept;
    };
    // Both locks, the look for a trial, open a, read a, open b, read b.
    const Row rows[] = {
        {whole, "-", 0, true},        {"-", whole, 0, true},     {whole, damaged, 0, true},
        {damaged, whole, 0, true},    {damaged, whole, 4, true}, {damaged, damaged, 7, true},
        {damaged, damaged, 0, false}, {damaged, "-", 0, false},  {"-", "-", 0, false},
        {"-", damaged, 0, false},     {"-", "-", 4, true},
    };
    for (const Row& row : rows) {
        SimulatedDisk& simulated = SimulatedDisk::reset();
        simulated.state.place("/etc/default", "a=factory\n");
        if (row.a != "-") simulated.state.place("/flash/nvram.a", row.a);
        if (row.b != "-") simulated.state.place("/flash/nvram.b", row.b);
        simulated.fail_at = row.fail_at;
        simulated.fail_with = EIO;
        nvram::Store store(places);
        bool kept = false;
        EXPECT_TRUE(store.restore_factory(&kept));
        EXPECT_EQ(kept, row.kept);
        EXPECT_EQ(working(), "a=factory\n");
        const std::string* a = simulated.state.content("/flash/nvram.a");
        const std::string* b = simulated.state.content("/flash/nvram.b");
        const bool same = (a ? *a : "-") == row.a && (b ? *b : "-") == row.b;
        EXPECT_EQ(same, row.kept);
        if (!row.kept) {
            EXPECT_EQ(store.flash_image(), "a=factory\n");
        }
    }
}

}  // namespace
