// A set, which looks at no more lines than those around the key's if the store wrote the working
// copy; the other lines are copied as they are.
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <random>

#include "store_kit.h"

namespace {

std::string escaped(const std::string& value) {
    std::string text;
    for (const char c : value)
        text += c == '\n'     ? "\\x0a"
                : c == '\x01' ? "\\x01"
                : c == '\\'   ? "\\\\"
                              : std::string(1, c);
    return text;
}

// A working copy with these settings.
std::string text_of(const std::map<std::string, std::string>& settings) {
    std::string text;
    for (const auto& [key, value] : settings) text += key + "=" + escaped(value) + "\n";
    return text;
}

std::map<std::string, std::string> squares() {
    std::map<std::string, std::string> settings;
    for (int i = 0; i < 1000; ++i) settings[setting(i)] = std::to_string(i * i);
    return settings;
}

// As if the store had written the working copy.
void mark() {
    disk().state.inodes.at(disk().state.names.at("/tmp/nvram")).marked = true;
}

TEST(Set, ChangesAddsAndRemovesAnywhere) {
    for (const char* key : {"a", "key_0", "key_471", "key_471x", "key_999", "z"}) {
        fill(1000);
        std::map<std::string, std::string> expected = squares();
        nvram::Store store(places);
        EXPECT_TRUE(store.set({key, "new\n"}));
        expected[key] = "new\n";
        EXPECT_EQ(working(), text_of(expected)) << key;
        EXPECT_TRUE(store.set({key, nvram::no_value}));
        expected.erase(key);
        EXPECT_EQ(working(), text_of(expected)) << key;
        EXPECT_EQ(disk().open_files(), 0);
        EXPECT_FALSE(any_temporary_file());
    }
}

// Short and long lines, longer ones than the bisection looks at included.
TEST(Set, WritesEveryOtherSettingAsItWas) {
    std::mt19937 random(1);
    const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    SimulatedDisk::reset().state.place("/tmp/nvram", "");
    std::map<std::string, std::string> expected;
    nvram::Store store(places);
    for (int round = 0; round < 400; ++round) {
        const std::string key = setting(below(100));
        if (below(3) == 0) {
            EXPECT_TRUE(store.set({key, nvram::no_value}));
            expected.erase(key);
        } else {
            const int length = below(10) == 0 ? below(6000) : below(60);
            std::string value;
            for (int i = 0; i < length; ++i) value += "xyz\n\x01\\="[below(7)];
            EXPECT_TRUE(store.set({key, value}));
            expected[key] = value;
        }
        ASSERT_EQ(working(), text_of(expected)) << round;
    }
    EXPECT_GT(working().size(), 10000U);
}

// The lines far away are not even read as settings.
TEST(Set, TakesNoNoticeOfLinesFarAway) {
    fill(1000);
    const std::string text = "nonsense\n" + working() + "nonsense\n";
    disk().rewrite_in_place("/tmp/nvram", text);
    nvram::Store store(places);
    EXPECT_FALSE(store.set({"key_471", "new"}));
    EXPECT_EQ(errno, EBADMSG);
    EXPECT_EQ(store.bad_lines().size(), 2U);
    EXPECT_EQ(working(), text);
    mark();
    EXPECT_TRUE(store.set({"key_471", "new"}));
    std::map<std::string, std::string> expected = squares();
    expected["key_471"] = "new";
    EXPECT_EQ(working(), "nonsense\n" + text_of(expected) + "nonsense\n");
}

// Whoever edits the working copy by hand need not sort it; the last line of a key counts.
TEST(Set, SortsWhatSomebodyEditedByHand) {
    fill(1000);
    disk().rewrite_in_place("/tmp/nvram",
                            "z=1\n" + working() + "# by hand\nkey_7=1\nkey_7=2\na=2\n");
    nvram::Store store(places);
    EXPECT_TRUE(store.set({"key_471", "new"}));
    std::map<std::string, std::string> expected = squares();
    expected["z"] = "1";
    expected["key_7"] = "2";
    expected["a"] = "2";
    expected["key_471"] = "new";
    EXPECT_EQ(working(), text_of(expected));
}

TEST(Set, WritesNothingForTheSameValue) {
    fill(1000);
    const int inode = disk().state.names.at("/tmp/nvram");
    nvram::Store store(places);
    EXPECT_TRUE(store.set({"key_7", "49"}));
    EXPECT_TRUE(store.set({"gone", nvram::no_value}));
    EXPECT_EQ(disk().state.names.at("/tmp/nvram"), inode);
    EXPECT_TRUE(store.set({"key_7", "50"}));
    EXPECT_NE(disk().state.names.at("/tmp/nvram"), inode);
}

TEST(Set, TakesAValueOfTheStoresOwnImage) {
    fill(1000);
    nvram::Store store(places);
    const std::string_view lent = *store.working_around("key_7")->get("key_7");
    EXPECT_TRUE(store.set({"key_8", lent}));
    EXPECT_EQ(value(store, "key_8"), "49");
}

TEST(Set, RefusesWhatAChangeRefuses) {
    fill(1000);
    const std::string before = working();
    nvram::Store store(places);
    for (const std::string& key : {std::string(), std::string("a b"), std::string(128, 'k')}) {
        errno = 0;
        EXPECT_FALSE(store.set({key, "1"})) << key;
        EXPECT_EQ(errno, EINVAL);
    }
    const std::string longest(nvram::value_limit, 'v');
    EXPECT_FALSE(store.set({"key_7", longest + "v"}));
    EXPECT_EQ(errno, E2BIG);
    EXPECT_EQ(working(), before);
    EXPECT_TRUE(store.set({"key_7", longest}));
    EXPECT_EQ(value(store, "key_7"), longest);

    // As many settings of this length as there is room for.
    int count = 0;
    while (store.set({"long_" + std::to_string(count), longest})) ++count;
    EXPECT_EQ(errno, E2BIG);
    EXPECT_EQ(store.failed_path(), "/tmp/nvram");
    EXPECT_EQ(count, 14);  // of 65,544 bytes each; 968,000 are left
    EXPECT_LE(working().size(), nvram::image_limit);

    disk().state.names.erase("/tmp/nvram");
    EXPECT_FALSE(store.set({"a", "1"}));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(store.failed_path(), "/tmp/nvram");
}

// Another program, which takes no lock, writes a shorter or a longer text between any two calls of
// a set: what is left is what that program wrote, or a set in one of the two texts, never of both.
TEST(Set, NeverMixesTwoTexts) {
    const std::map<std::string, std::string> short_text = {{"by", "hand"}, {"key_471", "1"}};
    std::map<std::string, std::string> long_text = squares();
    long_text["before"] = std::string(3000, 'x');
    for (std::map<std::string, std::string> other : {short_text, long_text}) {
        const std::string written = "z=1\n" + text_of(other);
        other["z"] = "1";
        std::map<std::string, std::string> first = squares();
        other["key_471"] = first["key_471"] = "new";
        int in_first = 0;
        int in_other = 0;
        int over_it = 0;
        for (int at = 1;; ++at) {
            fill(1000);
            nvram::Store store(places);
            disk().interrupt_at = disk().operations + at;
            disk().interrupt = [&] { disk().rewrite_in_place("/tmp/nvram", written); };
            EXPECT_TRUE(store.set({"key_471", "new"}));
            if (disk().operations < disk().interrupt_at) break;
            in_first += working() == text_of(first);
            in_other += working() == text_of(other);
            over_it += working() == written;
            EXPECT_EQ(in_first + in_other + over_it, at) << at;
        }
        // Before both locks, open and read; before the look at the mark, the removal of what killed
        // writers left, create, write, mark and rename. There is no call after that.
        EXPECT_EQ(in_other, 4);
        EXPECT_EQ(in_first, 6);
        EXPECT_EQ(over_it, 0);
    }
}

TEST(Set, LeavesAllAsItWasOrDoesWithoutTheCallThatFails) {
    std::map<std::string, std::string> expected = squares();
    fill(1000);
    const std::string before = working();
    expected["key_471"] = "new";
    std::vector<std::string> failed;
    for (int call = 1;; ++call) {
        fill(1000);
        nvram::Store store(places);
        disk().fail_at = disk().operations + call;
        disk().fail_with = EIO;
        const bool succeeded = store.set({"key_471", "new"});
        if (!succeeded) {
            EXPECT_EQ(errno, EIO) << call;
            failed.push_back(store.failed_path());
        }
        EXPECT_EQ(working(), succeeded ? text_of(expected) : before) << call;
        EXPECT_FALSE(any_temporary_file());
        EXPECT_EQ(disk().open_files(), 0);
        if (disk().operations < disk().fail_at) break;
    }
    // Both locks, open, read; create, write, rename.
    EXPECT_EQ(failed,
              (std::vector<std::string>{"/tmp/nvram.lock", "/tmp/nvram", "/tmp/nvram", "/tmp/nvram",
                                        "/tmp/nvram", "/tmp/nvram", "/tmp/nvram"}));
}

}  // namespace
