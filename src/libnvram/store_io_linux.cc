// The settings store's system calls on Linux. No other file of the store makes system calls.
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "libnvram/store_io.h"

namespace nvram::io {

static std::int64_t nanoseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}

static Identity identity_of(const struct stat& status) {
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .size = static_cast<std::uint64_t>(status.st_size),
            .modified = nanoseconds(status.st_mtim),
            .changed = nanoseconds(status.st_ctim)};
}

bool identify(const char* path, Identity& identity) {
    struct stat status;
    if (::stat(path, &status) != 0) return false;
    identity = identity_of(status);
    return true;
}

bool identify_open(int file, Identity& identity) {
    struct stat status;
    if (::fstat(file, &status) != 0) return false;
    identity = identity_of(status);
    return true;
}

// Kernels before 2.6.23 ignore O_CLOEXEC; the daemons that rc starts should not inherit our files.
static int open_private(const char* path, int flags, mode_t mode) {
    const int file = ::open(path, flags | O_CLOEXEC, mode);
    if (file >= 0) ::fcntl(file, F_SETFD, FD_CLOEXEC);
    return file;
}

static int close_keeping_errno(int file) {
    const int reason = errno;
    ::close(file);
    errno = reason;
    return -1;
}

// Opens a regular file. O_NONBLOCK does nothing to one, and the open of a FIFO does not wait.
static int open_regular(const char* path, int flags) {
    const int file = open_private(path, flags | O_NONBLOCK, 0600);
    if (file < 0) return -1;
    struct stat status;
    if (::fstat(file, &status) == 0) {
        if (S_ISREG(status.st_mode)) return file;
        errno = S_ISDIR(status.st_mode) ? EISDIR : ENXIO;
    } else if (errno == EOVERFLOW) {
        // The mode is not to be had. A FIFO or a socket has no position (ESPIPE).
        if (::lseek(file, 0, SEEK_CUR) == 0) return file;
        errno = ENXIO;
    }
    return close_keeping_errno(file);
}

int open_to_read(const char* path) {
    return open_regular(path, O_RDONLY);
}

int open_any_to_read(const char* path) {
    return open_private(path, O_RDONLY, 0);
}

bool read_all(int file, std::size_t limit, std::string& text) {
    text.clear();
    // Room for a file that does not grow during the read, plus one byte to detect that it does.
    struct stat status;
    const bool known = ::fstat(file, &status) == 0 && status.st_size > 0;
    const std::size_t first = known ? static_cast<std::size_t>(status.st_size) + 1 : 16384;
    std::size_t length = 0;
    for (;;) {
        // One byte more than the limit distinguishes a file of exactly the limit from a larger one.
        if (length == text.size()) {
            if (length > limit) break;
            const std::size_t larger = length == 0 ? first : length * 2;
            text.resize(larger <= limit ? larger : limit + 1);
        }
        const ssize_t count = ::read(file, text.data() + length, text.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
    }
    text.resize(length);
    if (length <= limit) return true;
    errno = EFBIG;
    return false;
}

std::size_t read_at(int file, std::size_t place, char* bytes, std::size_t size) {
    const ssize_t count = ::pread(file, bytes, size, static_cast<off_t>(place));
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

void mark_sorted(int file) {
    struct stat status;
    if (::fstat(file, &status) != 0) return;
    // No image is too long for this.
    const auto size = static_cast<std::size_t>(status.st_size);
    const timespec times[] = {
        {.tv_sec = 0, .tv_nsec = UTIME_OMIT},
        {.tv_sec = status.st_mtim.tv_sec, .tv_nsec = static_cast<long>(size)}};
    ::futimens(file, times);
}

std::size_t marked_size(int file) {
    struct stat status;
    if (::fstat(file, &status) != 0 || status.st_mtim.tv_nsec != status.st_size) return 0;
    // The time of change, which nobody can set, is that of the rename that came after the mark.
    const auto later = static_cast<unsigned long>(status.st_ctim.tv_sec - status.st_mtim.tv_sec);
    return later <= 1 ? static_cast<std::size_t>(status.st_size) : 0;
}

int create(const char* path) {
    ::unlink(path);
    return open_private(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
}

bool write_all(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool sync(int file) {
    return ::fsync(file) == 0;
}

void close(int file) {
    ::close(file);
}

bool rename(const char* from, const char* to) {
    return ::rename(from, to) == 0;
}

bool remove(const char* path) {
    return ::unlink(path) == 0;
}

bool has_memory(std::size_t bytes) {
    // volatile, so that the compiler does not leave out the allocation.
    void* volatile const block = std::malloc(bytes);
    std::free(block);
    return block != nullptr;
}

long process_number() {
    return ::getpid();
}

void remove_leftovers(const char* folder, std::string_view name) {
    DIR* const names = ::opendir(folder);
    if (names == nullptr) return;
    // readdir(3) fails on a 32-bit processor if a number in an entry has 64 bits.
    while (const dirent64* const entry = ::readdir64(names)) {
        if (std::strlen(entry->d_name) <= name.size() ||
            std::memcmp(entry->d_name, name.data(), name.size()) != 0)
            continue;
        const char* const dot = entry->d_name + name.size();
        if (*dot != '.') continue;
        char* end = nullptr;
        const long number = std::strtol(dot + 1, &end, 10);
        if (number <= 0 || std::strcmp(end, ".new") != 0) continue;
        // Its process may still write it, if somebody removed the lock's file.
        const bool ended = ::kill(static_cast<pid_t>(number), 0) != 0 && errno == ESRCH;
        if (ended) ::unlinkat(::dirfd(names), entry->d_name, 0);
    }
    ::closedir(names);
}

bool make_folder(const char* path) {
    return ::mkdir(path, 0700) == 0;
}

bool sync_folder(const char* path) {
    const int folder = open_private(path, O_RDONLY | O_DIRECTORY, 0);
    if (folder < 0) return false;
    // A file system may not support fsync of folders, and a read-only one has nothing to write.
    const bool done = ::fsync(folder) == 0 || errno == EINVAL || errno == EROFS;
    close_keeping_errno(folder);
    return done;
}

void (*lock_wait)(const char* path) = nullptr;

static bool take_lock(int file, const char* path) {
    bool waits = false;
    int result = ::flock(file, LOCK_EX | LOCK_NB);
    while (result != 0 && (errno == EWOULDBLOCK || errno == EINTR)) {
        if (errno == EWOULDBLOCK && !waits && lock_wait != nullptr) {
            waits = true;
            lock_wait(path);
        }
        result = ::flock(file, LOCK_EX);
    }
    if (waits) lock_wait(nullptr);
    return result == 0;
}

// Times beyond a 32-bit clock hide the numbers too; then the file is taken for the same.
static bool is_at(int file, const char* path) {
    struct stat locked;
    struct stat named;
    if (::fstat(file, &locked) != 0 || ::stat(path, &named) != 0) return errno == EOVERFLOW;
    errno = ENOENT;
    return locked.st_dev == named.st_dev && locked.st_ino == named.st_ino;
}

// While this process waited, another may have removed or replaced the file, and a third may have
// the lock of the new one. Then this one begins again.
static int lock_with(const char* path, int flags) {
    for (;;) {
        const int file = open_regular(path, flags);
        if (file < 0) return -1;
        const bool taken = take_lock(file, path);
        if (taken && is_at(file, path)) return file;
        close_keeping_errno(file);
        if (!taken || errno != ENOENT) return -1;
    }
}

int lock(const char* path) {
    return lock_with(path, O_RDONLY);
}

int make_and_lock(const char* path) {
    return lock_with(path, O_RDWR | O_CREAT | O_NOFOLLOW);
}

}  // namespace nvram::io
