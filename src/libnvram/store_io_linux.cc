// The settings store's system calls on Linux. No other file of the store makes system calls.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

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

int open_to_read(const char* path) {
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

bool make_folder(const char* path) {
    return ::mkdir(path, 0700) == 0;
}

bool sync_folder(const char* path) {
    const int folder = open_private(path, O_RDONLY | O_DIRECTORY, 0);
    if (folder < 0) return false;
    // A file system may not support fsync of folders, and a read-only one has nothing to write.
    const bool done = ::fsync(folder) == 0 || errno == EINVAL || errno == EROFS;
    const int reason = errno;
    ::close(folder);
    errno = reason;
    return done;
}

int lock(const char* path) {
    const int file = open_private(path, O_RDWR | O_CREAT | O_NOFOLLOW, 0600);
    if (file < 0) return -1;
    while (::flock(file, LOCK_EX) != 0) {
        if (errno == EINTR) continue;
        const int reason = errno;
        ::close(file);
        errno = reason;
        return -1;
    }
    return file;
}

}  // namespace nvram::io
