// Power cuts during a commit: after every operation and for every possible state of the disk, a
// load finds the complete old settings or the complete new ones; after the commit has returned, the
// new ones.
#include <gtest/gtest.h>

#include <cerrno>

#include "libnvram/generation.h"
#include "libnvram/store.h"
#include "simulated_disk.h"
#include "store_kit.h"

namespace {

struct Outcomes {
    int old_settings = 0;
    int new_settings = 0;
    int neither = 0;
};

void count(Outcomes& outcomes, const DiskState& cut, const std::string& old_text,
           const std::string& new_text) {
    for (const DiskState& start : cut.after_power_cut()) {
        SimulatedDisk::reset().state = start;
        nvram::Store store(places);
        const bool loaded = store.load();
        const std::string* found = disk().state.content("/tmp/nvram");
        const std::string text = loaded && found != nullptr ? *found : "(none)";
        ++(text == old_text   ? outcomes.old_settings
           : text == new_text ? outcomes.new_settings
                              : outcomes.neither);
    }
}

struct Trial {
    Outcomes during;
    Outcomes after;
    std::size_t cuts = 0;
    DiskState end;
};

// Commits new_text on a disk whose load gives old_text.
Trial commit(DiskState start, const std::string& old_text, const std::string& new_text,
             bool ignore_file_sync, bool ignore_folder_sync) {
    std::vector<DiskState> trace;
    SimulatedDisk& simulated = SimulatedDisk::reset();
    start.place("/tmp/nvram", new_text);
    simulated.state = start;
    simulated.ignore_file_sync = ignore_file_sync;
    simulated.ignore_folder_sync = ignore_folder_sync;
    simulated.trace = &trace;
    {
        nvram::Store store(places);
        EXPECT_TRUE(store.commit());
    }
    Trial trial;
    trial.end = simulated.state;
    trial.cuts = trace.size();
    for (const DiskState& cut : trace) count(trial.during, cut, old_text, new_text);
    count(trial.after, trial.end, old_text, new_text);
    return trial;
}

DiskState with_factory() {
    SimulatedDisk::reset();
    DiskState state;
    state.place("/etc/default", "a=factory\n");
    return state;
}

std::string settings(int number) {
    return "a=" + std::to_string(number) + "\nlist=x\\x01y\n";
}

TEST(PowerCut, LeavesTheOldOrTheNewSettings) {
    DiskState state = with_factory();
    std::string old_text = "a=factory\n";
    // The first commit makes the folder; later ones use the slots in turn.
    for (int number = 1; number <= 5; ++number) {
        const Trial trial = commit(state, old_text, settings(number), false, false);
        EXPECT_EQ(trial.during.neither, 0) << number;
        EXPECT_GT(trial.during.old_settings, 0) << number;
        EXPECT_GT(trial.during.new_settings, 0) << number;
        EXPECT_EQ(trial.after.old_settings, 0) << number;
        EXPECT_EQ(trial.after.neither, 0) << number;
        EXPECT_GT(trial.after.new_settings, 0) << number;
        EXPECT_GE(trial.cuts, 5U) << number;
        state = trial.end;
        old_text = settings(number);
    }
}

// Cuts during one commit and again during the next, which starts from every state that the first
// may leave.
TEST(PowerCut, MayHappenAgain) {
    DiskState state = with_factory();
    state = commit(state, "a=factory\n", settings(1), false, false).end;

    std::vector<DiskState> trace;
    SimulatedDisk& simulated = SimulatedDisk::reset();
    state.place("/tmp/nvram", settings(2));
    simulated.state = state;
    simulated.trace = &trace;
    ASSERT_TRUE(nvram::Store(places).commit());

    int tried = 0;
    for (const DiskState& first_cut : trace) {
        for (const DiskState& start : first_cut.after_power_cut()) {
            SimulatedDisk::reset().state = start;
            ASSERT_TRUE(nvram::Store(places).load());
            const std::string found = *disk().state.content("/tmp/nvram");
            ASSERT_TRUE(found == settings(1) || found == settings(2));
            const Trial second = commit(start, found, settings(3), false, false);
            ASSERT_EQ(second.during.neither, 0);
            ASSERT_EQ(second.after.old_settings + second.after.neither, 0);
            ++tried;
        }
    }
    EXPECT_GT(tried, 50);
}

// A change is on trial: none of its writes, and no commit that is refused meanwhile, reaches flash.
// Its confirmation is a commit.
TEST(PowerCut, UndoesATrialUntilItIsConfirmed) {
    const DiskState start = commit(with_factory(), "a=factory\n", settings(1), false, false).end;
    std::vector<DiskState> trace;
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state = start;
    simulated.trace = &trace;
    DiskState tried;
    {
        nvram::Store store(places);
        ASSERT_TRUE(store.put_file(places.trial(), "token=x\n", false));
        ASSERT_TRUE(store.change({{"a", "2"}}));
        EXPECT_FALSE(store.commit());
        EXPECT_EQ(errno, EBUSY);
        tried = simulated.state;
    }
    Outcomes during;
    for (const DiskState& cut : trace) count(during, cut, settings(1), settings(2));
    EXPECT_GT(during.old_settings, 5);
    EXPECT_EQ(during.new_settings + during.neither, 0);

    trace.clear();
    SimulatedDisk::reset().state = tried;
    disk().trace = &trace;
    ASSERT_TRUE(nvram::Store(places).confirm());
    const DiskState end = disk().state;
    Outcomes confirming;
    for (const DiskState& cut : trace) count(confirming, cut, settings(1), settings(2));
    EXPECT_GT(confirming.old_settings, 0);
    EXPECT_GT(confirming.new_settings, 0);
    EXPECT_EQ(confirming.neither, 0);
    Outcomes after;
    count(after, end, settings(1), settings(2));
    EXPECT_EQ(after.old_settings + after.neither, 0);
    EXPECT_GT(after.new_settings, 0);
}

// A first commit that was killed has created the folder without syncing its name, so the next one
// must sync it.
TEST(PowerCut, AfterAKilledCommitAndAWholeOne) {
    DiskState state = with_factory();
    state.folders.insert("/flash");
    state.pending.push_back({.removed = "", .added = "/flash", .inode = 0});
    const Trial trial = commit(state, "a=factory\n", settings(1), false, false);
    EXPECT_EQ(trial.during.neither, 0);
    EXPECT_EQ(trial.after.old_settings + trial.after.neither, 0);
    EXPECT_GT(trial.after.new_settings, 0);
}

TEST(PowerCut, DuringDefaultLeavesAWholeGeneration) {
    DiskState start = with_factory();
    start.place("/tmp/nvram", settings(3));
    start.place("/flash/nvram.a", nvram::encode({.number = 1, .image = settings(1)}));
    start.place("/flash/nvram.b", nvram::encode({.number = 2, .image = settings(2)}));
    std::vector<DiskState> trace;
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state = start;
    simulated.trace = &trace;
    ASSERT_TRUE(nvram::Store(places).restore_factory());
    Outcomes outcomes;
    for (const DiskState& cut : trace) count(outcomes, cut, settings(2), "a=factory\n");
    EXPECT_EQ(outcomes.neither, 0);
    EXPECT_GT(outcomes.old_settings, 0);
    EXPECT_GT(outcomes.new_settings, 0);
}

// The default after a failed load: whatever is cut, the next boot has the user's settings.
TEST(PowerCut, DuringDefaultAfterAFailedLoadKeepsTheSettings) {
    DiskState start = with_factory();
    start.place("/flash/nvram.a", nvram::encode({.number = 1, .image = settings(1)}));
    start.place("/flash/nvram.b", nvram::encode({.number = 2, .image = settings(2)}));
    std::vector<DiskState> trace;
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state = start;
    simulated.trace = &trace;
    ASSERT_TRUE(nvram::Store(places).restore_factory());
    trace.push_back(simulated.state);
    EXPECT_EQ(*simulated.state.content("/tmp/nvram"), "a=factory\n");
    Outcomes outcomes;
    for (const DiskState& cut : trace) count(outcomes, cut, settings(2), "a=factory\n");
    EXPECT_GT(outcomes.old_settings, 0);
    EXPECT_EQ(outcomes.new_settings + outcomes.neither, 0);
}

// A cut commit leaves its temporary file in flash; a later one removes it, wherever that is cut.
TEST(PowerCut, AfterACommitThatLeftItsTemporaryFile) {
    DiskState state = commit(with_factory(), "a=factory\n", settings(1), false, false).end;
    state.place("/flash/nvram.b.812.new", "half a genera");
    const Trial trial = commit(state, settings(1), settings(2), false, false);
    EXPECT_EQ(trial.during.neither, 0);
    EXPECT_EQ(trial.after.old_settings + trial.after.neither, 0);
    EXPECT_EQ(trial.end.content("/flash/nvram.b.812.new"), nullptr);
}

// The simulation must find a store that forgets to sync.
TEST(PowerCut, FindsAForgottenSyncOfTheFile) {
    const Trial first = commit(with_factory(), "a=factory\n", settings(1), true, false);
    EXPECT_GT(first.during.neither, 0);
    EXPECT_GT(first.after.neither, 0);

    const DiskState state = commit(with_factory(), "a=factory\n", settings(1), false, false).end;
    const Trial second = commit(state, settings(1), settings(2), true, false);
    EXPECT_GT(second.after.old_settings, 0);
}

TEST(PowerCut, FindsAForgottenSyncOfTheFolder) {
    const DiskState state = commit(with_factory(), "a=factory\n", settings(1), false, false).end;
    const Trial trial = commit(state, settings(1), settings(2), false, true);
    EXPECT_GT(trial.after.old_settings, 0);
}

}  // namespace
