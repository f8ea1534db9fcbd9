// The store over the simulated disk: commits to flash, and what is loaded from there.
#include "libnvram/store.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "store_kit.h"

namespace {

TEST(Store, CommitsToTheTwoSlotsInTurn) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "a=1\n");
    nvram::Store store(places);
    EXPECT_TRUE(store.commit());
    EXPECT_EQ(*disk().state.content("/flash/nvram.a"), generation(1, "a=1\n"));
    EXPECT_EQ(disk().state.content("/flash/nvram.b"), nullptr);

    EXPECT_TRUE(store.change({{"a", "2"}}));
    EXPECT_TRUE(store.commit());
    EXPECT_EQ(*disk().state.content("/flash/nvram.a"), generation(1, "a=1\n"));
    EXPECT_EQ(*disk().state.content("/flash/nvram.b"), generation(2, "a=2\n"));

    EXPECT_TRUE(store.commit());
    EXPECT_EQ(number_in("/flash/nvram.a"), 3U);
    EXPECT_EQ(number_in("/flash/nvram.b"), 2U);
    EXPECT_FALSE(any_temporary_file());
    EXPECT_EQ(disk().open_files(), 0);
}

TEST(Store, CommitsGoOnAfterTheLargestNumber) {
    constexpr std::uint32_t largest = 4294967295U;
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/tmp/nvram", "a=1\n");
    simulated.state.place("/flash/nvram.a", generation(largest - 1, "a=old\n"));
    simulated.state.place("/flash/nvram.b", generation(largest, "a=newest\n"));
    nvram::Store store(places);
    EXPECT_EQ(store.flash_image(), "a=newest\n");
    EXPECT_TRUE(store.commit());
    EXPECT_EQ(number_in("/flash/nvram.a"), 1U);
    EXPECT_EQ(store.flash_image(), "a=1\n");
    EXPECT_TRUE(store.change({{"a", "2"}}));
    EXPECT_TRUE(store.commit());
    EXPECT_EQ(number_in("/flash/nvram.b"), 2U);
    EXPECT_EQ(store.flash_image(), "a=2\n");
}

// A working copy that an editor or a broken program left without settings would wipe one generation
// at each commit.
TEST(Store, CommitsNoWorkingCopyWithoutSettings) {
    for (const char* text : {"", "\n\n", "# nothing\n"}) {
        SimulatedDisk& simulated = SimulatedDisk::reset();
        simulated.state.place("/tmp/nvram", text);
        simulated.state.place("/flash/nvram.a", generation(1, "a=1\n"));
        simulated.state.place("/flash/nvram.b", generation(2, "a=2\n"));
        nvram::Store store(places);
        for (int commit = 0; commit < 2; ++commit) {
            errno = 0;
            EXPECT_FALSE(store.commit());
            EXPECT_EQ(errno, ENODATA);
            EXPECT_EQ(store.failed_path(), "/tmp/nvram");
        }
        EXPECT_EQ(number_in("/flash/nvram.a"), 1U);
        EXPECT_EQ(number_in("/flash/nvram.b"), 2U);
    }
}

// An editor may leave bytes that an image escapes, so that it is longer when the store writes it.
TEST(Store, ACommitNotesWhatIsTooLongWhenEscaped) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    std::string image;
    for (int i = 10; i < 20; ++i)
        image += "k" + std::to_string(i) + "=" + std::string(60000, '\x01') + "\n";
    simulated.state.place("/tmp/nvram", image);
    simulated.state.place("/flash/nvram.a", generation(1, "a=1\n"));
    nvram::Store store(places);
    EXPECT_FALSE(store.commit());
    EXPECT_EQ(errno, E2BIG);
    EXPECT_EQ(store.failed_path(), "/tmp/nvram");
    EXPECT_EQ(number_in("/flash/nvram.a"), 1U);
    EXPECT_EQ(disk().state.content("/flash/nvram.b"), nullptr);
    EXPECT_EQ(working(), image);
}

TEST(Store, SyncsTheFolderThatItRunsIn) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "a=1\n");
    disk().state.folders.insert(".");
    disk().state.folders_on_disk.insert(".");
    nvram::Store store({.working = "/tmp/nvram", .factory = "/etc/default", .flash = "flash"});
    EXPECT_TRUE(store.commit());
    EXPECT_EQ(number_in("flash.a"), 1U);
    EXPECT_TRUE(disk().state.names_on_disk.contains("flash.a"));
}

TEST(Store, CommitsOverADamagedGeneration) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/tmp/nvram", "a=new\n");
    simulated.state.place("/flash/nvram.a", generation(5, "a=5\n"));
    simulated.state.place("/flash/nvram.b", generation(6, "a=6\n") + "x");
    nvram::Store store(places);
    EXPECT_TRUE(store.commit());
    EXPECT_EQ(number_in("/flash/nvram.a"), 5U);
    EXPECT_EQ(*disk().state.content("/flash/nvram.b"), generation(6, "a=new\n"));
}

// A change on trial is in flash only when it is confirmed.
TEST(Store, WhileAChangeIsOnTrialOnlyItsConfirmationWritesFlash) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/etc/default", "a=factory\n");
    simulated.state.place("/flash/nvram.a", generation(1, "a=1\n"));
    simulated.state.place("/tmp/nvram", "a=tried\n");
    simulated.state.place("/tmp/nvram.trial", "token=x\n");
    nvram::Store store(places);
    EXPECT_FALSE(store.commit());
    EXPECT_EQ(errno, EBUSY);
    EXPECT_EQ(store.failed_path(), "/tmp/nvram.trial");
    EXPECT_FALSE(store.restore_factory());
    EXPECT_EQ(errno, EBUSY);
    EXPECT_EQ(working(), "a=tried\n");
    EXPECT_EQ(store.flash_image(), "a=1\n");

    // If it cannot be told, nothing is written either.
    simulated.fail_at = simulated.operations + 3;
    simulated.fail_with = EIO;
    EXPECT_FALSE(store.commit());
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(store.flash_image(), "a=1\n");

    EXPECT_TRUE(store.confirm());
    EXPECT_EQ(store.flash_image(), "a=tried\n");
    EXPECT_EQ(store.previous_image(), "a=1\n");
}

TEST(Store, ThePreviousGenerationIsTheOneBeforeTheNewest) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    nvram::Store store(places);
    EXPECT_EQ(store.previous_image(), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    simulated.state.place("/flash/nvram.b", "no generation");
    errno = 0;
    EXPECT_EQ(store.previous_image(), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    simulated.state.place("/flash/nvram.b", generation(7, "a=7\n"));
    EXPECT_EQ(store.previous_image(), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(store.failed_path(), "/flash/nvram.a");
    simulated.state.place("/flash/nvram.a", generation(8, "a=8\n"));
    EXPECT_EQ(store.previous_image(), "a=7\n");
    EXPECT_TRUE(store.load_previous());
    EXPECT_EQ(working(), "a=7\n");
    simulated.state.place("/flash/nvram.b", "damaged");
    EXPECT_FALSE(store.load_previous());
    EXPECT_EQ(errno, EBADMSG);
    EXPECT_EQ(store.failed_path(), "/flash/nvram.b");
    EXPECT_EQ(working(), "a=7\n");
}

TEST(Store, LoadsTheNewestUndamagedGeneration) {
    const std::string damaged = generation(9, "a=9\n") + "x";
    struct Row {
        std::string a, b, factory, loaded;  // "-": no such file
        int reason;
    };
    const Row rows[] = {
        {"-", "-", "f=1\n# c\ne=1\n", "e=1\nf=1\n", 0},
        {generation(1, "a=1\n"), "-", "f=1\n", "a=1\n", 0},
        {"-", generation(1, "a=1\n"), "f=1\n", "a=1\n", 0},
        {generation(1, "a=1\n"), generation(2, "a=2\n"), "f=1\n", "a=2\n", 0},
        {generation(3, "a=3\n"), generation(2, "a=2\n"), "f=1\n", "a=3\n", 0},
        {generation(10, "a=10\n"), generation(9, "a=9\n"), "-", "a=10\n", 0},
        {damaged, generation(2, "a=2\n"), "f=1\n", "a=2\n", 0},
        {generation(2, "a=2\n"), damaged, "f=1\n", "a=2\n", 0},
        {generation(2, ""), "-", "f=1\n", "", 0},
        {damaged, damaged, "f=1\n", "(none)", EBADMSG},
        {damaged, "-", "f=1\n", "(none)", EBADMSG},
        {"-", "", "f=1\n", "(none)", EBADMSG},
        {std::string(nvram::image_limit * 2, 'x'), "-", "f=1\n", "(none)", EBADMSG},
        // Undamaged, but more than a working copy may hold.
        {generation(3, "a=3\n" + std::string(nvram::image_limit + 200, '#')),
         generation(2, "a=2\n"), "f=1\n", "a=2\n", 0},
        // After the largest number comes 1.
        {generation(4294967295U, "a=max\n"), generation(1, "a=1\n"), "-", "a=1\n", 0},
        {generation(2, "a=2\n"), generation(4294967295U, "a=max\n"), "-", "a=2\n", 0},
        {"-", "-", "-", "(none)", ENOENT},
    };
    for (const Row& row : rows) {
        SimulatedDisk& simulated = SimulatedDisk::reset();
        if (row.a != "-") simulated.state.place("/flash/nvram.a", row.a);
        if (row.b != "-") simulated.state.place("/flash/nvram.b", row.b);
        if (row.factory != "-") simulated.state.place("/etc/default", row.factory);
        nvram::Store store(places);
        errno = 0;
        const bool loaded = store.load();
        const int reason = errno;
        EXPECT_EQ(loaded, row.reason == 0) << row.loaded;
        if (!loaded) {
            EXPECT_EQ(reason, row.reason);
        }
        EXPECT_EQ(working(), row.loaded);
        EXPECT_EQ(disk().open_files(), 0);
    }
}

TEST(Store, ADefaultWithAWorkingCopyResetsFlash) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/tmp/nvram", "a=mine\n");
    simulated.state.place("/etc/default", "a=factory\n");
    simulated.state.place("/flash/nvram.a", generation(1, "a=1\n"));
    nvram::Store store(places);
    bool kept = false;
    EXPECT_TRUE(store.restore_factory(&kept));
    EXPECT_FALSE(kept);
    EXPECT_EQ(store.flash_image(), "a=factory\n");
}

TEST(Store, RestoresTheFactorySettings) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/tmp/nvram", "a=1\n");
    simulated.state.place("/etc/default", "f=1\n");
    simulated.state.place("/flash/nvram.a", "damaged");
    simulated.state.place("/flash/nvram.b", "damaged");
    nvram::Store store(places);
    EXPECT_TRUE(store.restore_factory());
    EXPECT_EQ(working(), "f=1\n");
    EXPECT_EQ(*disk().state.content("/flash/nvram.a"), generation(1, "f=1\n"));
}

}  // namespace
