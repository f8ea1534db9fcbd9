// libnvram.so as other programs use it: loaded by dlopen, six functions, ownership as in C.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <memory>

#include "temporary_folder.h"

namespace {

// A library keeps its root folder, so all tests share one; it stays loaded like any other.
class Library : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        shared_folder = std::make_unique<TemporaryFolder>();
        setenv("NVRAM_TEST_ROOT", shared_folder->path().c_str(), 1);
    }
    static void TearDownTestSuite() { shared_folder.reset(); }

    void SetUp() override {
        for (const char* name : {"tmp/nvram", "etc/default", "flash"})
            std::filesystem::remove_all(folder / name);
        open(NVRAM_TEST_LIBRARY);
    }

    void open(const char* path) {
        handle = dlopen(path, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        ASSERT_NE(handle, nullptr) << dlerror();
        find(load, "nvram_zel_load");
        find(get, "nvram_zel_get");
        find(safe_get, "nvram_zel_safe_get");
        find(set, "nvram_zel_set");
        find(commit, "nvram_zel_commit");
        find(get_fun, "__nvram_get_fun");
    }

    template <typename Function>
    void find(Function*& function, const char* name) {
        function = reinterpret_cast<Function*>(dlsym(handle, name));
        ASSERT_NE(function, nullptr) << name;
    }

    std::string copied(const char* key) {
        char* text = safe_get(key);
        std::string value = text != nullptr ? text : "(null)";
        std::free(text);
        return value;
    }

    static inline std::unique_ptr<TemporaryFolder> shared_folder;
    const TemporaryFolder& folder = *shared_folder;
    void* handle = nullptr;
    int (*load)() = nullptr;
    char* (*get)(const char*) = nullptr;
    char* (*safe_get)(const char*) = nullptr;
    int (*set)(const char*, const char*) = nullptr;
    int (*commit)() = nullptr;
    char* (*get_fun)(const char*, const char*) = nullptr;
};

TEST_F(Library, LoadsSetsAndCommits) {
    EXPECT_EQ(load(), -1);
    EXPECT_EQ(get("a"), nullptr);
    EXPECT_EQ(set("a", "1"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(commit(), -1);

    folder.write("etc/default", "a=factory\nempty=\nlist=x\\x01y\n");
    EXPECT_EQ(load(), 0);
    EXPECT_STREQ(get("a"), "factory");
    EXPECT_STREQ(get("empty"), "");
    EXPECT_STREQ(get("list"), "x\x01y");
    EXPECT_EQ(get("b"), nullptr);

    EXPECT_EQ(set("a", "p\x01q\x02r\\\n"), 0);
    EXPECT_STREQ(get("a"), "p\x01q\x02r\\\n");
    EXPECT_EQ(commit(), 0);
    EXPECT_EQ(set("a", nullptr), 0);
    EXPECT_EQ(get("a"), nullptr);
    EXPECT_EQ(load(), 0);
    EXPECT_STREQ(get("a"), "p\x01q\x02r\\\n");
}

TEST_F(Library, CopiesForItsCaller) {
    folder.write("tmp/nvram", "a=1\n");
    EXPECT_EQ(copied("a"), "1");
    EXPECT_EQ(copied("b"), "");
    EXPECT_EQ(copied(""), "");
    EXPECT_EQ(copied("not a key"), "");
    EXPECT_EQ(copied(nullptr), "");
    char* first = safe_get("a");
    char* second = safe_get("a");
    EXPECT_NE(first, second);
    std::free(first);
    std::free(second);
}

TEST_F(Library, BearsBadArguments) {
    folder.write("tmp/nvram", "a=1\n");
    const std::string long_key(5000, 'k');
    EXPECT_EQ(get(nullptr), nullptr);
    EXPECT_EQ(get(""), nullptr);
    EXPECT_EQ(get(long_key.c_str()), nullptr);
    for (const char* key :
         {static_cast<const char*>(nullptr), "", "a b", "a=b", "\n", long_key.c_str()}) {
        errno = 0;
        EXPECT_EQ(set(key, "1"), -1);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(set(key, nullptr), -1);
    }
    EXPECT_EQ(set("a", std::string(65537, 'v').c_str()), -1);
    EXPECT_EQ(errno, E2BIG);
    EXPECT_EQ(get_fun(nullptr, "/etc/default"), nullptr);
    EXPECT_EQ(get_fun("a", nullptr), nullptr);
    EXPECT_EQ(get_fun("a", (folder / "none").c_str()), nullptr);
    EXPECT_EQ(get_fun("a", folder.path().c_str()), nullptr);
    EXPECT_EQ(folder.read("tmp/nvram"), "a=1\n");
}

TEST_F(Library, TakesBackWhatItLent) {
    folder.write("tmp/nvram", "a=one\nb=two\nc=a\n");
    folder.write("etc/default", "a=factory\nc=a\n");
    EXPECT_EQ(set("b", get("a")), 0);
    EXPECT_STREQ(get("b"), "one");
    EXPECT_STREQ(get(get("c")), "one");
    const std::string path = folder / "etc/default";
    EXPECT_STREQ(get_fun(get("c"), path.c_str()), "factory");
    EXPECT_STREQ(get_fun(get_fun("c", path.c_str()), path.c_str()), "factory");
    EXPECT_EQ(set("b", get_fun("a", path.c_str())), 0);
    EXPECT_STREQ(get("b"), "factory");
}

// Each copy of the file is a library that has looked nothing up yet.
TEST_F(Library, FindsAKeyAtItsFirstLookUp) {
    std::string text;
    for (int i = 0; i < 5000; ++i)
        text += "key" + std::to_string(i) + "=v" + std::to_string(i) + "\n";
    folder.write("etc/default", text);
    ASSERT_EQ(load(), 0);
    int copies = 0;
    const auto open_new = [&] {
        const std::string copy = folder / ("library" + std::to_string(copies++));
        std::filesystem::copy_file(NVRAM_TEST_LIBRARY, copy);
        open(copy.c_str());
    };
    for (const char* number : {"0", "1", "777", "2500", "4999"}) {
        open_new();
        EXPECT_EQ(std::string("v") + number, get((std::string("key") + number).c_str()));
        EXPECT_STREQ(get("key3"), "v3");
    }
    open_new();
    EXPECT_EQ(get("key5000"), nullptr);
    // The second look-up replaces the lines that the first one lent.
    ASSERT_EQ(set("key0", "key4000"), 0);
    open_new();
    EXPECT_STREQ(get(get("key0")), "v4000");
    folder.append("tmp/nvram", "key1=by hand\n");
    open_new();
    EXPECT_STREQ(get("key1"), "by hand");
}

// The lines far away, which the store would not have written, are copied as they are.
TEST_F(Library, ASetLooksOnlyAtTheLinesAroundItsKey) {
    std::string before = "nonsense\n";
    std::string behind;
    for (int i = 1000; i < 6000; ++i)
        if (i != 3000) (i < 3000 ? before : behind) += "key" + std::to_string(i) + "=v\n";
    const std::string text = before + "key3000=v\n" + behind;
    // Each time anew, in case that a second ends before the file has its times.
    int result = -1;
    for (int i = 0; i < 100 && result != 0; ++i) {
        folder.write("tmp/nvram", text);
        const timespec mark = {.tv_sec = time(nullptr), .tv_nsec = static_cast<long>(text.size())};
        const timespec times[] = {mark, mark};
        ASSERT_EQ(utimensat(AT_FDCWD, (folder / "tmp/nvram").c_str(), times, 0), 0);
        result = set("key3000", "new");
    }
    EXPECT_EQ(result, 0);
    EXPECT_EQ(folder.read("tmp/nvram"), before + "key3000=new\n" + behind);
}

TEST_F(Library, SeesWhatOthersWrite) {
    folder.write("tmp/nvram", "a=1\n");
    EXPECT_STREQ(get("a"), "1");
    folder.write("new", "a=other\n");
    std::filesystem::rename(folder / "new", folder / "tmp/nvram");
    EXPECT_STREQ(get("a"), "other");
    std::filesystem::remove(folder / "tmp/nvram");
    EXPECT_EQ(get("a"), nullptr);
}

// The shipped file; only the function that takes a path can be tested without touching this
// machine's settings.
TEST_F(Library, ShipsWithTheSameFunctions) {
    open(NVRAM_LIBRARY);
    folder.write("image", "a=1\nlist=x\\x01y\n");
    EXPECT_STREQ(get_fun("list", (folder / "image").c_str()), "x\x01y");
    EXPECT_EQ(get_fun("b", (folder / "image").c_str()), nullptr);
    EXPECT_EQ(get(nullptr), nullptr);
    EXPECT_EQ(copied(nullptr), "");
}

}  // namespace
