// The replacements for libstdc++ in the programs that ship: memory, and abort() where the library
// would throw.

#include <bits/functexcept.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <functional>
#include <limits>
#include <new>

// clang needs these two declarations.
void operator delete(void* memory, std::size_t size) noexcept;
void operator delete[](void* memory, std::size_t size) noexcept;

namespace {

// abort() was called. The child exits normally, so that its coverage is counted too.
constexpr int aborted = 34;

void end_after_abort(int) {
    std::exit(aborted);
}

void expect_abort(const std::function<void()>& run) {
    EXPECT_EXIT(
        {
            signal(SIGABRT, end_after_abort);
            run();
        },
        testing::ExitedWithCode(aborted), "");
}

TEST(Runtime, MemoryComesFromMalloc) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{100'000}}) {
        void* const one = operator new(size);
        void* const other = operator new(size);
        EXPECT_NE(one, nullptr);
        EXPECT_NE(one, other) << "memory of no bytes has an address of its own";
        operator delete(one);
        operator delete(other, size);

        void* const row = operator new[](size);
        EXPECT_NE(row, nullptr);
        operator delete[](row);
        operator delete[](operator new[](size), size);
    }
    operator delete(nullptr);
    operator delete[](nullptr);
}

TEST(RuntimeDeathTest, OutOfMemoryAborts) {
    // More memory than any machine has.
    volatile std::size_t size = std::numeric_limits<std::size_t>::max() / 2;
    expect_abort([&] { operator delete(operator new(size)); });
    expect_abort([&] { operator delete[](operator new[](size)); });
}

TEST(RuntimeDeathTest, AbortsWhereTheLibraryWouldThrow) {
    expect_abort([] { std::__throw_length_error("x"); });
    expect_abort([] { std::__throw_logic_error("x"); });
    expect_abort([] { std::__throw_out_of_range("x"); });
    expect_abort([] { std::__throw_out_of_range_fmt("%d", 1); });
    expect_abort([] { std::__throw_invalid_argument("x"); });
    expect_abort([] { std::__throw_system_error(1); });
    expect_abort([] { std::__throw_bad_alloc(); });
    expect_abort([] { std::__throw_bad_array_new_length(); });
    expect_abort([] { std::__throw_bad_function_call(); });
}

// The library's own templates call these functions.
TEST(RuntimeDeathTest, AnIndexOutOfRangeAborts) {
    volatile std::size_t place = 4;
    expect_abort([&] { std::string("abc").substr(place); });
}

}  // namespace
