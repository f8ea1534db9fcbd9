// The store on a real file system: many processes at once, killed writers, files rewritten by other
// programs.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <functional>
#include <new>
#include <random>
#include <thread>

#include "libnvram/generation.h"
#include "libnvram/store.h"
#include "temporary_folder.h"

namespace {

nvram::Places places_in(const TemporaryFolder& folder) {
    return {.working = folder / "tmp/nvram",
            .factory = folder / "etc/default",
            .flash = folder / "flash/nvram"};
}

// Runs in a child that exits with the function's result; it is killed if the test ends first.
pid_t in_child(const std::function<int()>& run) {
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        _exit(run());
    }
    return child;
}

int status_of(pid_t child) {
    int status = 0;
    if (waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int number(std::string_view text) {
    int value = -1;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

mode_t mode_of(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

constexpr int writers = 8;
constexpr int sets = 500;
constexpr int keys = 50;  // of all writers more than a set looks at

std::string key_of(int writer, int key) {
    return "w" + std::to_string(writer) + "." + std::to_string(key);
}

// Each writer goes round its own keys and sets, each second time, one that all share. After each
// set all its keys have to hold what it set last, so a set that another writer undoes is noticed
// before it is set again.
int write_many(const nvram::Places& places, int writer) {
    nvram::Store store(places);
    std::string expected[keys];
    for (int set = 0; set < sets; ++set) {
        std::string& value = expected[set % keys];
        value = std::to_string(set);
        const std::string key = key_of(writer, set % keys);
        const bool done = set % 2 == 0 ? store.set({key, value})
                                       : store.change({{key, value}, {"shared", value}});
        if (!done) return 1;
        const nvram::Image* image = store.working();
        if (image == nullptr) return 2;
        for (int key = 0; key < keys; ++key)
            if (image->get(key_of(writer, key)).value_or("") != expected[key]) return 3;
    }
    return 0;
}

TEST(Processes, LoseNoOverlappingSet) {
    const TemporaryFolder folder;
    folder.write("tmp/nvram", "");
    pid_t children[writers] = {};
    for (int writer = 0; writer < writers; ++writer)
        children[writer] = in_child([&] { return write_many(places_in(folder), writer); });
    for (const pid_t child : children) EXPECT_EQ(status_of(child), 0);

    nvram::Store store(places_in(folder));
    const nvram::Image* image = store.working();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->entries().size(), static_cast<std::size_t>(writers * keys + 1));
    EXPECT_EQ(image->get("shared"), std::to_string(sets - 1));
    for (int writer = 0; writer < writers; ++writer)
        for (int key = 0; key < keys; ++key)
            EXPECT_EQ(image->get(key_of(writer, key)), std::to_string(sets - keys + key))
                << key_of(writer, key);
    EXPECT_FALSE(folder.has_temporary_files("tmp"));
}

// The progress of two processes, in shared memory.
template <typename T>
T& shared() {
    void* memory =
        mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    return *new (memory) T;
}

// A reader beside a writer sees only complete images: both keys always agree. The writer continues
// until the reader has seen many images, however rarely it runs.
TEST(Processes, NeverSeeHalfAnImage) {
    constexpr int enough = 20;
    const TemporaryFolder folder;
    folder.write("tmp/nvram", "a=0\nz=0\n");
    std::atomic<int>& images = shared<std::atomic<int>>();
    const pid_t writer = in_child([&] {
        nvram::Store store(places_in(folder));
        for (int i = 1; i <= 2000 || images < enough; ++i) {
            const std::string value(static_cast<std::size_t>(i * 7 % 5000),
                                    static_cast<char>('a' + i % 26));
            if (!store.change({{"a", value}, {"z", value}})) return 1;
        }
        return 0;
    });
    nvram::Store store(places_in(folder));
    std::string last;
    int status = 0;
    while (waitpid(writer, &status, WNOHANG) == 0) {
        const nvram::Image* image = store.working();
        ASSERT_NE(image, nullptr);
        ASSERT_EQ(image->entries().size(), 2U);
        ASSERT_EQ(image->get("a"), image->get("z"));
        images += image->get("a") != last;
        last = *image->get("a");
    }
    EXPECT_EQ(status, 0);
    EXPECT_GE(images, enough);
}

// The operations that a writer has completed, in memory that outlives it.
struct Progress {
    volatile int set = 0;
    volatile int committed = 0;
};

// Writes for ever: a counter, a value of changing length with its own check, and a commit at every
// third round.
[[noreturn]] void write_until_killed(const nvram::Places& places, Progress& progress, int start) {
    nvram::Store store(places);
    for (int i = start + 1;; ++i) {
        const std::string count = std::to_string(i);
        const std::string filling(static_cast<std::size_t>(i * 37 % 3000),
                                  static_cast<char>('a' + i % 26));
        if (!store.change({{"count", count}, {"filling", filling}, {"twin", count}})) _exit(1);
        progress.set = i;
        if (i % 3 != 0) continue;
        if (!store.commit()) _exit(2);
        progress.committed = i;
    }
}

void expect_whole(const nvram::Image& image, int& count) {
    EXPECT_EQ(image.entries().size(), 4U);
    EXPECT_EQ(image.get("always"), "here");
    EXPECT_EQ(image.get("count"), image.get("twin"));
    count = number(image.get("count").value_or(""));
    const std::string_view filling = image.get("filling").value_or("(unset)");
    EXPECT_EQ(filling, std::string(static_cast<std::size_t>(count * 37 % 3000),
                                   static_cast<char>('a' + count % 26)));
}

TEST(Processes, AreKilledWithoutHarm) {
    const TemporaryFolder folder;
    const nvram::Places places = places_in(folder);
    folder.write("tmp/nvram", "always=here\ncount=0\nfilling=\ntwin=0\n");
    nvram::Store store(places);
    ASSERT_TRUE(store.commit());

    Progress& progress = shared<Progress>();
    std::mt19937 random(300);
    int count = 0;
    int flash_count = 0;
    for (int round = 0; round < 300; ++round) {
        progress.set = count;
        const pid_t writer =
            in_child([&]() -> int { write_until_killed(places, progress, count); });
        // However slow the machine, every fifth writer gets as far as a commit, which it makes with
        // every third count.
        const int goal = progress.committed + (round % 5 == 0 ? 3 : 0);
        while (progress.committed < goal) {
            ASSERT_EQ(waitpid(writer, nullptr, WNOHANG), 0) << "the writer has ended by itself";
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 6000));
        ASSERT_EQ(kill(writer, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(waitpid(writer, &status, 0), writer);
        ASSERT_TRUE(WIFSIGNALED(status)) << status;

        const nvram::Image* image = store.working();
        ASSERT_NE(image, nullptr);
        expect_whole(*image, count);
        // The last set may be done but not yet recorded.
        ASSERT_GE(count, progress.set);
        ASSERT_LE(count, progress.set + 1);

        const std::optional<std::string> flash = store.flash_image();
        ASSERT_TRUE(flash.has_value());
        expect_whole(nvram::Image(*flash), flash_count);
        ASSERT_GE(flash_count, progress.committed);
        ASSERT_LE(flash_count, count);
        ASSERT_EQ(flash_count % 3, 0);
        // Both generations are good at any time: the one being written has no slot's name yet.
        for (const char* slot : {"flash/nvram.a", "flash/nvram.b"}) {
            const std::string text = folder.read(slot);
            ASSERT_TRUE(text == "(none)" || nvram::decode(text).number != 0) << slot;
        }
        if (HasFailure()) return;
    }
    // The writers made progress, and the lock and the temporary files that they left do not block
    // others.
    EXPECT_GT(count, 100);
    EXPECT_GT(progress.committed, 0);
    EXPECT_TRUE(store.change({{"count", "done"}}));
    EXPECT_TRUE(store.commit());
    EXPECT_TRUE(store.load());
    EXPECT_EQ(store.working()->get("count"), "done");
    // Each slot's leftovers go when the slot is written again.
    EXPECT_TRUE(store.commit());
    EXPECT_FALSE(folder.has_temporary_files("tmp"));
    EXPECT_FALSE(folder.has_temporary_files("flash"));
}

// Somebody cleans /tmp over and over: neither a writer that waits for the removed lock nor the one
// that holds it loses a change.
TEST(Processes, LoseNoSetThoughTheLockIsRemoved) {
    const TemporaryFolder folder;
    folder.write("tmp/nvram", "");
    std::atomic<int>& removed = shared<std::atomic<int>>();
    const pid_t cleaner = in_child([&] {
        for (;;) {
            removed += unlink((folder / "tmp/nvram.lock").c_str()) == 0;
            std::this_thread::sleep_for(std::chrono::microseconds(300));
        }
        return 0;
    });
    pid_t children[writers] = {};
    for (int writer = 0; writer < writers; ++writer)
        children[writer] = in_child([&] { return write_many(places_in(folder), writer); });
    for (const pid_t child : children) EXPECT_EQ(status_of(child), 0);
    ASSERT_EQ(kill(cleaner, SIGKILL), 0);
    ASSERT_EQ(waitpid(cleaner, nullptr, 0), cleaner);
    EXPECT_GT(removed, 100);
}

// Runs a store's operation in a child, since it would hang here if it hung.
bool fails_at_once(const std::function<bool()>& operation, int reason) {
    const pid_t child = in_child([&] {
        alarm(10);
        return operation() ? 1 : errno == reason ? 0 : 2;
    });
    return status_of(child) == 0;
}

// FIFOs and folders where the store has its files: with O_NONBLOCK and a look at the type nothing
// waits for a writer that never comes.
TEST(Files, OfAnotherKindFailAtOnce) {
    for (const int reason : {ENXIO, EISDIR}) {
        const TemporaryFolder folder;
        nvram::Store store(places_in(folder));
        const auto put = [&](const std::string& name) {
            const std::string path = folder / name;
            std::filesystem::remove_all(path);
            ASSERT_EQ(reason == ENXIO ? mkfifo(path.c_str(), 0600) : mkdir(path.c_str(), 0700), 0);
        };
        put("tmp/nvram");
        EXPECT_TRUE(fails_at_once([&] { return store.working() != nullptr; }, reason));
        EXPECT_TRUE(fails_at_once([&] { return store.change({{"a", "2"}}); }, reason));
        EXPECT_TRUE(fails_at_once([&] { return store.commit(); }, reason));
        std::filesystem::remove(folder / "tmp/nvram");

        put("etc/default");
        EXPECT_TRUE(fails_at_once([&] { return store.load(); }, reason));
        EXPECT_TRUE(fails_at_once([&] { return store.restore_factory(); }, reason));

        folder.write("tmp/nvram", "a=1\n");
        EXPECT_TRUE(store.commit());
        put("flash/nvram.b");
        EXPECT_TRUE(fails_at_once([&] { return store.load(); }, reason));
        EXPECT_TRUE(fails_at_once([&] { return store.commit(); }, reason));
        EXPECT_TRUE(fails_at_once([&] { return store.flash_image().has_value(); }, reason));

        put("tmp/nvram.lock");
        EXPECT_TRUE(fails_at_once([&] { return store.change({{"a", "2"}}); }, reason));
        EXPECT_EQ(folder.read("tmp/nvram"), "a=1\n");
    }
}

TEST(Files, AreReadAgainAfterARewriteInPlace) {
    const TemporaryFolder folder;
    folder.write("tmp/nvram", "a=1\n");
    folder.write("etc/default", "a=factory\n");
    nvram::Store store(places_in(folder));
    EXPECT_EQ(store.working()->get("a"), "1");
    // The boot's "busybox cp" overwrites the existing file, as does this stream.
    folder.write("tmp/nvram", folder.read("etc/default"));
    EXPECT_EQ(store.working()->get("a"), "factory");
}

TEST(Files, AreReadAgainAfterARewriteOfTheSameLength) {
    const TemporaryFolder folder;
    folder.write("tmp/nvram", "a=1\n");
    nvram::Store store(places_in(folder));
    EXPECT_EQ(store.working()->get("a"), "1");
    struct stat before;
    struct stat after;
    ASSERT_EQ(stat((folder / "tmp/nvram").c_str(), &before), 0);
    do {
        // The kernel's file times advance by ticks of a few milliseconds.
        folder.write("tmp/nvram", "a=2\n");
        ASSERT_EQ(stat((folder / "tmp/nvram").c_str(), &after), 0);
    } while (after.st_mtim.tv_sec == before.st_mtim.tv_sec &&
             after.st_mtim.tv_nsec == before.st_mtim.tv_nsec);
    EXPECT_EQ(store.working()->get("a"), "2");
}

TEST(Files, ArePrivate) {
    const TemporaryFolder folder;
    folder.write("etc/default", "a=1\n");
    const mode_t mask = umask(0);
    nvram::Store store(places_in(folder));
    EXPECT_TRUE(store.load());
    EXPECT_TRUE(store.change({{"a", "2"}}));
    EXPECT_TRUE(store.commit());
    EXPECT_TRUE(store.commit());
    umask(mask);
    for (const char* name : {"tmp/nvram", "tmp/nvram.lock", "flash/nvram.a", "flash/nvram.b"})
        EXPECT_EQ(mode_of(folder / name), 0600U) << name;
    EXPECT_EQ(mode_of(folder / "flash"), 0700U);
}

TEST(Files, ThatAreLinksAreNotFollowedWhenWriting) {
    const TemporaryFolder folder;
    folder.write("tmp/nvram", "a=1\n");
    folder.write("etc/victim", "untouched");
    const std::string temporary = "tmp/nvram." + std::to_string(getpid()) + ".new";
    std::filesystem::create_symlink(folder / "etc/victim", folder / temporary);
    nvram::Store store(places_in(folder));
    EXPECT_TRUE(store.change({{"a", "2"}}));
    EXPECT_EQ(folder.read("etc/victim"), "untouched");
    EXPECT_EQ(folder.read("tmp/nvram"), "a=2\n");

    std::filesystem::remove(folder / "tmp/nvram.lock");
    std::filesystem::create_symlink(folder / "etc/victim", folder / "tmp/nvram.lock");
    EXPECT_FALSE(store.change({{"a", "3"}}));
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(folder.read("tmp/nvram"), "a=2\n");
}

}  // namespace
