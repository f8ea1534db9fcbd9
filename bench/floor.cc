// The floor of an action of rc: the same work without any computation. Reads the settings that the
// action reads, writes its files with one write each, and starts its shell commands.
//   floor PLAN
// bench/report makes PLAN from a run of rc: records of a kind, a length and that many bytes.

#include <fcntl.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "libnvram/libnvram.h"

namespace {

struct Record {
    uint32_t kind;
    uint32_t length;
};

// The last byte of a text is zero; a file is its path and its content.
enum Kind : uint32_t { Get = 'g', Path = 'p', Content = 'c', Run = 'r' };

// Scripts are among the files.
int open_new(const char* path) {
    return open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0755);
}

// False if a file cannot be written.
bool carry_out(const char* at, const char* end) {
    const char* path = "";
    while (at < end) {
        Record record;
        memcpy(&record, at, sizeof record);
        const char* bytes = at + sizeof record;
        at = bytes + record.length;
        if (record.kind == Get) free(nvram_zel_safe_get(bytes));
        if (record.kind == Path) path = bytes;
        if (record.kind == Run && system(bytes) < 0) return false;
        if (record.kind != Content) continue;
        const int file = open_new(path);
        if (write(file, bytes, record.length) != static_cast<ssize_t>(record.length)) return false;
        close(file);
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const int file = open(argv[1], O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (file < 0 || fstat(file, &status) != 0) return 1;
    const auto size = static_cast<size_t>(status.st_size);
    void* plan = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    if (plan == MAP_FAILED) return 1;
    const char* start = static_cast<const char*>(plan);
    return carry_out(start, start + size) ? 0 : 1;
}
