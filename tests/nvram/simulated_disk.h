// A simulated disk that replaces the store's system calls and can lose its power: it distinguishes
// written data from synced data, and lists every state that a power cut could leave.
#ifndef RC_TESTS_SIMULATED_DISK_H
#define RC_TESTS_SIMULATED_DISK_H

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// Everything below /tmp is a RAM disk. A value: copying it copies the disk.
struct DiskState {
    struct Inode {
        std::string content;
        std::string on_disk;
        bool on_disk_is_current = false;
        std::int64_t written_at = 0;
        bool marked = false;  // as sorted, and not written since
    };
    struct NameChange {
        std::string removed;  // empty: nothing
        std::string added;    // empty: nothing
        int inode = 0;        // 0 with added set: a folder
    };

    std::map<int, Inode> inodes;
    std::map<std::string, int> names;
    std::set<std::string> folders = {"/", "/tmp", "/etc"};
    // The same as a power cut would leave them, and what may be added to that.
    std::map<std::string, int> names_on_disk;
    std::set<std::string> folders_on_disk = {"/", "/tmp", "/etc"};
    std::vector<NameChange> pending;

    // Every state in which the router can find its disk after a cut at this moment.
    std::vector<DiskState> after_power_cut() const;

    const std::string* content(const std::string& path) const;
    // Puts a file on the disk for good.
    void place(const std::string& path, std::string_view content);
};

// The one disk that the store's io functions work on. A test starts by resetting it.
struct SimulatedDisk {
    DiskState state;

    bool ignore_file_sync = false;    // fsync of a file does nothing, as if it had been forgotten
    bool ignore_folder_sync = false;  // the same for folders
    int fail_at = 0;                  // the operation with this number fails; 0: none
    int fail_with = 0;                // and sets errno to this
    bool beyond_the_clock = false;    // files' times do not fit into the clock: EOVERFLOW
    std::size_t memory = SIZE_MAX;    // larger requests fail
    int interrupt_at = 0;             // before the operation with this number; 0: never
    std::function<void()> interrupt;  // another program does this
    int operations = 0;               // calls so far
    int reads = 0;                    // whole files read so far
    std::size_t bytes_read = 0;       // from places in files
    std::vector<DiskState>* trace = nullptr;  // gets the state after every operation

    // As another program writes: the same inode, truncated and written anew.
    void rewrite_in_place(const std::string& path, std::string_view content);
    int open_files() const;

    static SimulatedDisk& reset();
};

SimulatedDisk& disk();

#endif
