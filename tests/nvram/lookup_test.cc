// The first look-up of a process, in a few lines of the working copy.
#include <gtest/gtest.h>

#include "store_kit.h"

namespace {

// The value that a new process's first look-up finds.
std::string first_value(std::string_view key) {
    nvram::Store store(places);
    const nvram::Image* image = store.working_around(key);
    return image != nullptr ? std::string(image->get(key).value_or("(unset)")) : "(none)";
}

TEST(LookUp, TheFirstLookUpReadsOnlyTheLinesAroundTheKey) {
    fill(10000);
    const int whole = disk().reads;
    for (int i = 0; i < 10000; i += 37) {
        disk().bytes_read = 0;
        EXPECT_EQ(first_value(setting(i)), std::to_string(i * i));
        EXPECT_LT(disk().bytes_read, 20000U) << "of 180 KB";
    }
    for (const char* key : {"", "a", "key_", "key_10000", "key_5x", "key_0=0", "z"})
        EXPECT_EQ(first_value(key), "(unset)") << key;
    EXPECT_EQ(disk().reads, whole);
    EXPECT_EQ(disk().open_files(), 0);
}

TEST(LookUp, TheSecondLookUpReadsTheWholeImage) {
    fill(10000);
    nvram::Store store(places);
    const int whole = disk().reads;
    EXPECT_EQ(store.working_around("key_7")->get("key_7"), "49");
    EXPECT_EQ(disk().reads, whole);
    EXPECT_EQ(store.working_around("key_9000")->get("key_9000"), "81000000");
    EXPECT_EQ(store.working_around("key_9")->entries().size(), 10000U);
    EXPECT_EQ(disk().reads, whole + 1);
}

TEST(LookUp, TheFirstLookUpFindsLongLinesAndTheirNeighbours) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "");
    const std::string longest(nvram::value_limit, '\n');  // 262,144 bytes when escaped
    const std::string list(3000, 'x');
    std::string text = "m=" + list + "\nm1=" + list + "\nm2=" + list + "\n";
    for (int i = 0; i < 500; ++i) text += setting(i) + "=" + std::to_string(i) + "\n";
    nvram::Store store(places);
    ASSERT_TRUE(store.change(nvram::Image(text).entries()));
    ASSERT_TRUE(store.change({{"l", longest}, {"zz", longest}, {"z", "last but one"}}));
    for (const nvram::Entry& entry : store.working()->entries())
        EXPECT_EQ(first_value(entry.key), entry.value) << entry.key;
}

// Whoever edits the working copy by hand need not sort it; the last line of a key counts.
TEST(LookUp, TheFirstLookUpTrustsOnlyWhatTheStoreWrote) {
    fill(10000);
    std::string text = working();
    disk().rewrite_in_place("/tmp/nvram", text + "key_7=by hand\n");
    EXPECT_EQ(first_value("key_7"), "by hand");
    SimulatedDisk::reset().state.place("/tmp/nvram", "z=1\n" + text + "a=2\n");
    EXPECT_EQ(first_value("z"), "1");
    EXPECT_EQ(first_value("a"), "2");
    SimulatedDisk::reset();
    EXPECT_EQ(first_value("a"), "(none)");
}

TEST(LookUp, TheFirstLookUpReadsTheWholeImageIfAPartCannotBeRead) {
    fill(10000);
    // The last failure is after the last call.
    for (int at = 1; at < 20; ++at) {
        disk().fail_at = disk().operations + at;
        disk().fail_with = EIO;
        EXPECT_EQ(first_value("key_4711"), "22193521") << at;
        EXPECT_EQ(disk().open_files(), 0);
    }
    disk().fail_at = 0;
}

// Another program, which takes no lock, writes the same keys unsorted between any two calls.
TEST(LookUp, FindsAKeyWhileSomebodyWrites) {
    bool ended = false;
    for (int at = 1; !ended; ++at) {
        fill(1000);
        std::string unsorted;
        for (int i = 999; i >= 0; --i) unsorted += setting(i) + "=other\n";
        disk().interrupt_at = disk().operations + at;
        disk().interrupt = [&] { disk().rewrite_in_place("/tmp/nvram", unsorted); };
        const std::string found = first_value("key_100");
        EXPECT_TRUE(found == "10000" || found == "other") << at << ": " << found;
        ended = disk().operations < disk().interrupt_at;
    }
}

}  // namespace
