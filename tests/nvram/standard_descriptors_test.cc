// A program that is started without standard descriptors.
#include "libnvram/standard_descriptors.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool is_null_device(int file) {
    struct stat status;
    struct stat null;
    return fstat(file, &status) == 0 && stat("/dev/null", &null) == 0 &&
           status.st_rdev == null.st_rdev && S_ISCHR(status.st_mode);
}

// Closes these of the descriptors 0 to 2, opens them, and looks at them: 0, or what is wrong.
int opened_after_closing(unsigned closed) {
    const int root = open("/", O_RDONLY);
    for (int file = 0; file <= 2; ++file) dup2(root, file);
    close(root);
    for (int file = 0; file <= 2; ++file)
        if ((closed >> file & 1) != 0) close(file);
    open_standard_descriptors();
    for (int file = 0; file <= 2; ++file)
        if (is_null_device(file) != ((closed >> file & 1) != 0)) return 10 + file;
    // Nothing else stays open.
    return open("/", O_RDONLY) == root ? 0 : 20;
}

TEST(StandardDescriptors, AreOpenedWhereTheyAreClosed) {
    for (unsigned closed = 0; closed < 8; ++closed) {
        const pid_t child = fork();
        if (child == 0) _exit(opened_after_closing(closed));
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << closed << ": " << WEXITSTATUS(status);
    }
}

}  // namespace
