// The system calls of the settings store, one function each, without any logic above them. Tests
// link a simulated disk in its place. A failure returns -1 or false with errno set.
#ifndef RC_LIBNVRAM_STORE_IO_H
#define RC_LIBNVRAM_STORE_IO_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace nvram::io {

// Identifies a file and its last change; times in nanoseconds since 1970.
struct Identity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    std::int64_t modified = 0;
    std::int64_t changed = 0;

    bool operator==(const Identity&) const = default;
};

// EOVERFLOW: the file is there, but has a time beyond the C library's clock, which may have 32
// bits.
bool identify(const char* path, Identity& identity);
bool identify_open(int file, Identity& identity);

// Opens a regular file. EISDIR: a folder; ENXIO: a FIFO, a socket or a device. Never waits.
int open_to_read(const char* path);

// Opens whatever the path names, and waits for the writer of a FIFO.
int open_any_to_read(const char* path);

// Reads to the end; EFBIG if there are more than limit bytes.
bool read_all(int file, std::size_t limit, std::string& text);

// Reads up to size bytes from that place in the file; returns how many, 0 if the call fails.
std::size_t read_at(int file, std::size_t place, char* bytes, std::size_t size);

// Creates a file with mode 0600; one left by a killed writer is removed first.
int create(const char* path);

bool write_all(int file, std::string_view text);

// Returns after the file's content is on the disk.
bool sync(int file);

// Marks the file's content as lines sorted by key: its time of modification gets the file's size as
// its nanoseconds. A later writer gives it the time of the clock, which has that very nanosecond
// once in a thousand million times. Nothing happens where this is not possible.
void mark_sorted(int file);

// The file's size if it has that mark; 0 if not, or if anything about the file, such as its times,
// was changed more than a second after the time that the mark is in.
std::size_t marked_size(int file);

void close(int file);
bool rename(const char* from, const char* to);
bool remove(const char* path);

// Whether that much memory is to be had. The programs' operator new aborts without memory; this
// asks in a way that can fail.
bool has_memory(std::size_t bytes);

// The number in the names of this process's temporary files.
long process_number();

// Removes the files in the folder whose names are the given one, a dot, the number of a process
// that has ended, and ".new".
void remove_leftovers(const char* folder, std::string_view name);

bool make_folder(const char* path);

// Returns after the names in the folder are on the disk.
bool sync_folder(const char* path);

// Waits until no other process has the lock of the file that has this path then; close releases it,
// and so does the end of the process. Errors as of open_to_read.
int lock(const char* path);

// The same; creates a missing file, and follows no link.
int make_and_lock(const char* path);

// If set, called with the file's path before a wait for another process, and with nullptr after it.
extern void (*lock_wait)(const char* path);

}  // namespace nvram::io

#endif
