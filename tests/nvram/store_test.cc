// The store over the simulated disk: reading and changing the working copy.
#include "libnvram/store.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "store_kit.h"

namespace {

TEST(Store, ReadsAnUnchangedImageOnce) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "a=1\nb=2\n");
    nvram::Store store(places);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(value(store, "a"), "1");
    EXPECT_EQ(value(store, "b"), "2");
    EXPECT_EQ(disk().reads, 1);

    disk().rewrite_in_place("/tmp/nvram", "a=3\nb=2\n");
    for (int i = 0; i < 10; ++i) EXPECT_EQ(value(store, "a"), "3");
    EXPECT_EQ(disk().reads, 2);

    nvram::Store other(places);
    ASSERT_TRUE(other.change({{"a", "4"}}));
    const int reads = disk().reads;
    for (int i = 0; i < 10; ++i) EXPECT_EQ(value(store, "a"), "4");
    EXPECT_EQ(disk().reads, reads + 1);
}

TEST(Store, NoticesThatTheWorkingCopyIsGone) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "a=1\n");
    nvram::Store store(places);
    EXPECT_EQ(value(store, "a"), "1");
    disk().state.names.erase("/tmp/nvram");
    EXPECT_EQ(store.working(), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(store.failed_path(), "/tmp/nvram");
    EXPECT_EQ(disk().open_files(), 0);
}

TEST(Store, ChangesSeveralSettingsInOneWrite) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "a=1\nb=2\nc=3\n");
    nvram::Store store(places);
    EXPECT_TRUE(store.change({{"b", nvram::no_value}, {"d", "x\x01y"}, {"a", ""}}));
    EXPECT_EQ(working(), "a=\nc=3\nd=x\\x01y\n");
    EXPECT_EQ(disk().open_files(), 0);
    EXPECT_FALSE(any_temporary_file());
}

TEST(Store, TakesValuesOfItsOwnImage) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "a=first\nb=2\n");
    nvram::Store store(places);
    const std::string_view lent = *store.working()->get("a");
    disk().rewrite_in_place("/tmp/nvram", "a=second\nb=2\n");
    EXPECT_TRUE(store.change({{"b", lent}}));
    EXPECT_EQ(working(), "a=second\nb=first\n");
}

TEST(Store, WritesNothingForTheSameValue) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "b=2\na=1\n");
    nvram::Store store(places);
    EXPECT_TRUE(store.change({{"a", "1"}, {"b", "2"}, {"gone", nvram::no_value}}));
    EXPECT_EQ(working(), "b=2\na=1\n");
}

TEST(Store, RefusesWhatIsBadOrTooLarge) {
    const std::string before = "a=1\n";
    SimulatedDisk::reset().state.place("/tmp/nvram", before);
    nvram::Store store(places);
    struct Row {
        std::string key;
        std::size_t length;
        int reason;
    };
    const Row rows[] = {{"", 1, EINVAL},
                        {"a b", 1, EINVAL},
                        {"a=b", 1, EINVAL},
                        {"a\n", 1, EINVAL},
                        {std::string(128, 'k'), 1, EINVAL},
                        {"a", 65537, E2BIG}};
    for (const Row& row : rows) {
        const std::string text(row.length, 'v');
        errno = 0;
        // A good change beside the bad one is not carried out either.
        EXPECT_FALSE(store.change({{"good", "1"}, {row.key, text}})) << row.key;
        EXPECT_EQ(errno, row.reason) << row.key;
        EXPECT_EQ(working(), before);
    }
    EXPECT_TRUE(store.change({{"a", std::string(65536, 'v')}}));
}

TEST(Store, RefusesAnImageOfMoreThanAMegabyte) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "");
    nvram::Store store(places);
    // 65,533 + "kNN=" + newline are 65,538 bytes; 15 of them and a rest fill the image to the last
    // byte.
    for (int i = 10; i < 25; ++i)
        ASSERT_TRUE(store.change({{"k" + std::to_string(i), std::string(65533, 'v')}}));
    const std::size_t room = nvram::image_limit - working().size();
    const std::string last(room - 3, 'v');
    ASSERT_LE(last.size(), nvram::value_limit);
    EXPECT_FALSE(store.change({{"z", last + "v"}}));
    EXPECT_EQ(errno, E2BIG);
    EXPECT_EQ(working().size(), nvram::image_limit - room);
    EXPECT_TRUE(store.change({{"z", last}}));
    EXPECT_EQ(working().size(), nvram::image_limit);
    EXPECT_TRUE(store.commit());
    EXPECT_EQ(value(store, "z"), last);

    // A control byte takes four bytes in the image.
    EXPECT_FALSE(store.change({{"k10", std::string(65533, '\x01')}}));
    EXPECT_EQ(errno, E2BIG);

    disk().rewrite_in_place("/tmp/nvram", std::string(nvram::image_limit + 1, '#'));
    EXPECT_EQ(store.working(), nullptr);
    EXPECT_EQ(errno, EFBIG);
}

TEST(Store, MakesNoWorkingCopyByAChange) {
    SimulatedDisk::reset().state.place("/etc/default", "a=1\n");
    nvram::Store store(places);
    EXPECT_FALSE(store.change({{"a", "2"}}));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(store.replace(nvram::Image("a=2\n")));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(store.commit());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(working(), "(none)");
    EXPECT_FALSE(disk().state.folders.contains("/flash"));
}

TEST(Store, Replaces) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "a=1\nb=2\n");
    nvram::Store store(places);
    EXPECT_TRUE(store.replace(nvram::Image("c=3\n")));
    EXPECT_EQ(working(), "c=3\n");
}

TEST(Store, NeitherCommitsNorDropsALineThatItCannotRead) {
    const std::string text = "a=1\nb c=2\nd=3\nnonsense\n";
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/tmp/nvram", text);
    simulated.state.place("/flash/nvram.a", generation(1, "a=1\n"));
    nvram::Store store(places);
    const auto expect_refusal = [&](bool done) {
        EXPECT_EQ(errno, EBADMSG);
        EXPECT_FALSE(done);
        EXPECT_EQ(store.failed_path(), "/tmp/nvram");
        ASSERT_EQ(store.bad_lines().size(), 2U);
        EXPECT_EQ(store.bad_lines()[0].number, 2U);
        EXPECT_EQ(store.bad_lines()[1].number, 4U);
        EXPECT_STREQ(store.bad_lines()[1].reason, "is not KEY=VALUE");
        EXPECT_EQ(working(), text);
        EXPECT_EQ(disk().state.content("/flash/nvram.b"), nullptr);
    };
    expect_refusal(store.commit());
    expect_refusal(store.change({{"a", "2"}}));
    expect_refusal(store.change({{"a", nvram::no_value}}));
    // Readers still have the lines that are whole.
    EXPECT_EQ(value(store, "d"), "3");
    // Loading or replacing says that the lines may go.
    EXPECT_TRUE(store.replace(nvram::Image("a=3\n")));
    EXPECT_TRUE(store.commit());
    EXPECT_TRUE(store.bad_lines().empty());
}

bool refuse_a_2(const nvram::Image& image, void* seen) {
    *static_cast<std::string*>(seen) = image.text();
    return image.get("a") != "2";
}

TEST(Store, AsksItsJudgeBeforeItStores) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/tmp/nvram", "a=1\nb=x\n");
    nvram::Store store(places);
    std::string seen;
    const nvram::Judge judge = {.accepts = refuse_a_2, .context = &seen};
    EXPECT_FALSE(store.change({{"a", "2"}}, &judge));
    EXPECT_EQ(errno, ECANCELED);
    EXPECT_EQ(seen, "a=2\nb=x\n");
    EXPECT_FALSE(store.replace(nvram::Image("a=2\n"), &judge));
    EXPECT_EQ(errno, ECANCELED);
    EXPECT_EQ(seen, "a=2\n");
    EXPECT_EQ(working(), "a=1\nb=x\n");

    EXPECT_TRUE(store.commit(&judge));
    EXPECT_TRUE(store.change({{"a", "2"}}));
    EXPECT_FALSE(store.commit(&judge));
    EXPECT_EQ(errno, ECANCELED);
    EXPECT_EQ(number_in("/flash/nvram.a"), 1U);
    EXPECT_EQ(disk().state.content("/flash/nvram.b"), nullptr);
    EXPECT_TRUE(store.change({{"a", "3"}}, &judge));
    EXPECT_TRUE(store.commit(&judge));
}

TEST(Store, RemovesWhatEndedProcessesLeft) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/tmp/nvram", "a=1\n");
    for (const char* path : {"/tmp/nvram.812.new", "/flash/nvram.a.812.new", "/tmp/nvram.7.new",
                             "/tmp/nvram.x.new", "/tmp/other.812.new", "/tmp/nvram.812.newer"})
        simulated.state.place(path, "half an ima");
    nvram::Store store(places);
    EXPECT_TRUE(store.change({{"a", "2"}}));
    EXPECT_TRUE(store.commit());
    for (const char* path : {"/tmp/nvram.812.new", "/flash/nvram.a.812.new", "/tmp/nvram.7.new"})
        EXPECT_EQ(simulated.state.content(path), nullptr) << path;
    for (const char* path : {"/tmp/nvram.x.new", "/tmp/other.812.new", "/tmp/nvram.812.newer"})
        EXPECT_NE(simulated.state.content(path), nullptr) << path;
}

TEST(Store, ReadsAnImageAtEachCallWhoseTimesAreBeyondTheClock) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/tmp/nvram", "a=1\n");
    simulated.beyond_the_clock = true;
    nvram::Store store(places);
    EXPECT_EQ(value(store, "a"), "1");
    EXPECT_EQ(value(store, "a"), "1");
    EXPECT_EQ(simulated.reads, 2);
    EXPECT_EQ(simulated.open_files(), 0);
    EXPECT_TRUE(store.change({{"a", "2"}}));
    EXPECT_EQ(value(store, "a"), "2");
    EXPECT_TRUE(store.replace(nvram::Image("a=3\n")));
    EXPECT_EQ(value(store, "a"), "3");
    simulated.state.place("/etc/default", "a=factory\n");
    EXPECT_TRUE(store.restore_factory());
    EXPECT_EQ(number_in("/flash/nvram.a"), 1U);

    // As soon as the clock reads them, the image is read once.
    simulated.beyond_the_clock = false;
    const int reads = simulated.reads;
    EXPECT_EQ(value(store, "a"), "factory");
    EXPECT_EQ(value(store, "a"), "factory");
    EXPECT_EQ(simulated.reads, reads + 1);
}

}  // namespace
