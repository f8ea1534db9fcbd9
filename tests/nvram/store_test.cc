// The store over the simulated disk: what each operation leaves, and that a failure leaves nothing
// changed.
#include "libnvram/store.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "libnvram/generation.h"
#include "simulated_disk.h"

namespace {

const nvram::Places places{
    .working = "/tmp/nvram", .factory = "/etc/default", .flash = "/flash/nvram"};

std::string working() {
    const std::string* text = disk().state.content("/tmp/nvram");
    return text != nullptr ? *text : "(none)";
}

std::uint32_t number_in(const std::string& slot) {
    const std::string* text = disk().state.content(slot);
    return text != nullptr ? nvram::decode(*text).number : 0;
}

bool any_temporary_file() {
    for (const auto& [path, inode] : disk().state.names)
        if (path.ends_with(".new")) return true;
    return false;
}

std::string value(nvram::Store& store, std::string_view key) {
    const nvram::Image* image = store.working();
    return image != nullptr ? std::string(image->get(key).value_or("(unset)")) : "(none)";
}

std::string generation(std::uint32_t number, std::string_view image) {
    return nvram::encode({.number = number, .image = image});
}

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

// The value that a new process's first look-up finds.
std::string first_value(std::string_view key) {
    nvram::Store store(places);
    const nvram::Image* image = store.working_around(key);
    return image != nullptr ? std::string(image->get(key).value_or("(unset)")) : "(none)";
}

std::string setting(int number) {
    return "key_" + std::to_string(number);
}

// Ten thousand settings, written by the store.
void fill() {
    SimulatedDisk::reset().state.place("/tmp/nvram", "");
    std::string text;
    for (int i = 0; i < 10000; ++i) text += setting(i) + "=" + std::to_string(i * i) + "\n";
    nvram::Store store(places);
    ASSERT_TRUE(store.change(nvram::Image(text).entries()));
}

TEST(Store, TheFirstLookUpReadsOnlyTheLinesAroundTheKey) {
    fill();
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

TEST(Store, TheSecondLookUpReadsTheWholeImage) {
    fill();
    nvram::Store store(places);
    const int whole = disk().reads;
    EXPECT_EQ(store.working_around("key_7")->get("key_7"), "49");
    EXPECT_EQ(disk().reads, whole);
    EXPECT_EQ(store.working_around("key_9000")->get("key_9000"), "81000000");
    EXPECT_EQ(store.working_around("key_9")->entries().size(), 10000U);
    EXPECT_EQ(disk().reads, whole + 1);
}

TEST(Store, TheFirstLookUpFindsLongLinesAndTheirNeighbours) {
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
TEST(Store, TheFirstLookUpTrustsOnlyWhatTheStoreWrote) {
    fill();
    std::string text = working();
    disk().rewrite_in_place("/tmp/nvram", text + "key_7=by hand\n");
    EXPECT_EQ(first_value("key_7"), "by hand");
    SimulatedDisk::reset().state.place("/tmp/nvram", "z=1\n" + text + "a=2\n");
    EXPECT_EQ(first_value("z"), "1");
    EXPECT_EQ(first_value("a"), "2");
    SimulatedDisk::reset();
    EXPECT_EQ(first_value("a"), "(none)");
}

TEST(Store, TheFirstLookUpReadsTheWholeImageIfAPartCannotBeRead) {
    fill();
    // The last failure is after the last call.
    for (int at = 1; at < 20; ++at) {
        disk().fail_at = disk().operations + at;
        disk().fail_with = EIO;
        EXPECT_EQ(first_value("key_4711"), "22193521") << at;
        EXPECT_EQ(disk().open_files(), 0);
    }
    disk().fail_at = 0;
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

// A person's own control bytes take four bytes each as they are written out.
TEST(Store, CommitsNoImageThatGrowsBeyondItsLimit) {
    std::string text;
    for (const char key : {'a', 'b', 'c', 'd', 'e'})
        text += key + ("=" + std::string(60000, '\x01') + "\n");
    SimulatedDisk::reset().state.place("/tmp/nvram", text);
    nvram::Store store(places);
    errno = 0;
    EXPECT_FALSE(store.commit());
    EXPECT_EQ(errno, E2BIG);
    EXPECT_EQ(store.failed_path(), "/tmp/nvram");
    EXPECT_EQ(number_in("/flash/nvram.a"), 0U);
}

TEST(Store, MakesNoWorkingCopyByAChange) {
    SimulatedDisk::reset().state.place("/etc/default", "a=1\n");
    nvram::Store store(places);
    EXPECT_FALSE(store.change({{"a", "2"}}));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(store.replace({{"a", "2"}}));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(store.commit());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(working(), "(none)");
    EXPECT_FALSE(disk().state.folders.contains("/flash"));
}

TEST(Store, Replaces) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "a=1\nb=2\n");
    nvram::Store store(places);
    EXPECT_TRUE(store.replace({{"c", "3"}}));
    EXPECT_EQ(working(), "c=3\n");
}

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
    EXPECT_TRUE(store.replace({{"a", "3"}}));
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
    EXPECT_FALSE(store.replace({{"a", "2"}}, &judge));
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
    EXPECT_TRUE(store.replace({{"a", "3"}}));
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

TEST(Store, SyncsTheFolderThatItRunsIn) {
    SimulatedDisk::reset().state.place("/tmp/nvram", "a=1\n");
    disk().state.folders.insert(".");
    disk().state.folders_on_disk.insert(".");
    nvram::Store store({.working = "/tmp/nvram", .factory = "/etc/default", .flash = "flash"});
    EXPECT_TRUE(store.commit());
    EXPECT_EQ(number_in("flash.a"), 1U);
    EXPECT_TRUE(disk().state.names_on_disk.contains("flash.a"));
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

TEST(Store, AFailedLoadKeepsTheWorkingCopy) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/tmp/nvram", "a=1\n");
    simulated.state.place("/flash/nvram.a", "damaged");
    nvram::Store store(places);
    EXPECT_FALSE(store.load());
    EXPECT_EQ(working(), "a=1\n");
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

TEST(Store, RestoresTheFactorySettingsThoughFlashFails) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/etc/default", "f=1\n");
    nvram::Store store(nvram::Places{
        .working = "/tmp/nvram", .factory = "/etc/default", .flash = "/no/such/nvram"});
    EXPECT_FALSE(store.restore_factory());
    EXPECT_EQ(working(), "f=1\n");
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

TEST(Store, LeavesEverythingAsItWasWhenACallFails) {
    SimulatedDisk::reset();
    DiskState start;
    start.place("/tmp/nvram", "a=1\n");
    start.place("/etc/default", "a=factory\n");
    start.place("/flash/nvram.a", generation(1, "a=1\n"));
    start.place("/flash/nvram.b", generation(2, "a=2\n"));
    // Both locks, open and read the working copy; create, write, rename.
    fail_each_call(start, 7, [](nvram::Store& store) { return store.change({{"a", "new"}}); });
    // Both locks, the look for a trial; open and read the working copy and both generations;
    // create, write, sync, rename, sync the folder.
    fail_each_call(start, 14, [](nvram::Store& store) { return store.commit(); });
    // Both locks; create, write, rename.
    fail_each_call(start, 5, [](nvram::Store& store) { return store.replace({{"a", "new"}}); });
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

}  // namespace
