// The disk in memory: its states, and the store's io functions over it.
#include "simulated_disk.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "libnvram/store_io.h"

namespace {

struct OpenFile {
    int inode = 0;
    bool lock = false;
};

std::map<int, OpenFile> open_table;
int next_file = 3;
int first_file = 3;  // since the disk was put in last
int next_inode = 1;
std::int64_t now = 0;

std::string folder_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

void carry_out(const DiskState::NameChange& change, std::map<std::string, int>& names,
               std::set<std::string>& folders) {
    if (!change.removed.empty()) names.erase(change.removed);
    if (change.added.empty()) return;
    if (change.inode == 0) {
        folders.insert(change.added);
    } else {
        names[change.added] = change.inode;
    }
}

// The possible remains of a file that was not synced.
std::vector<std::string> remains(const std::string& content) {
    const std::string half = content.substr(0, content.size() / 2);
    std::string garbage = half;
    garbage.append(content.size() - half.size(), '\xff');
    std::string zeros = half;
    zeros.append(content.size() - half.size(), '\0');
    return {"", half, content, garbage, zeros};
}

// Counts the operation; false with errno set if it is the one that must fail.
bool operation() {
    SimulatedDisk& simulated = disk();
    if (++simulated.operations == simulated.interrupt_at) simulated.interrupt();
    if (simulated.operations != simulated.fail_at) return true;
    errno = simulated.fail_with;
    return false;
}

void done() {
    SimulatedDisk& simulated = disk();
    if (simulated.trace != nullptr) simulated.trace->push_back(simulated.state);
}

int open_inode(int inode, bool lock) {
    open_table[next_file] = {inode, lock};
    return next_file++;
}

bool missing(const std::string& path) {
    if (disk().state.names.contains(path)) return false;
    errno = ENOENT;
    return true;
}

bool beyond_the_clock() {
    if (disk().beyond_the_clock) errno = EOVERFLOW;
    return disk().beyond_the_clock;
}

void change_names(const DiskState::NameChange& change) {
    DiskState& state = disk().state;
    carry_out(change, state.names, state.folders);
    state.pending.push_back(change);
}

int new_file(const std::string& path) {
    DiskState& state = disk().state;
    if (!state.folders.contains(folder_of(path))) {
        errno = ENOENT;
        return 0;
    }
    state.inodes[next_inode].written_at = ++now;
    change_names({.removed = "", .added = path, .inode = next_inode});
    return next_inode++;
}

nvram::io::Identity identity_of(int number) {
    const DiskState::Inode& inode = disk().state.inodes.at(number);
    return {.device = 1,
            .inode = static_cast<std::uint64_t>(number),
            .size = inode.content.size(),
            .modified = inode.written_at,
            .changed = inode.written_at};
}

DiskState restarted(const DiskState& before, std::size_t chosen, std::size_t remainder) {
    DiskState after;
    after.names = before.names_on_disk;
    after.folders = before.folders_on_disk;
    for (std::size_t i = 0; i < before.pending.size(); ++i)
        if ((chosen >> i & 1) != 0) carry_out(before.pending[i], after.names, after.folders);
    std::erase_if(after.names, [&](const auto& name) {
        return name.first.starts_with("/tmp/") || !after.folders.contains(folder_of(name.first));
    });
    for (const auto& [path, number] : after.names) {
        DiskState::Inode inode = before.inodes.at(number);
        inode.content =
            inode.on_disk_is_current ? inode.on_disk : remains(inode.content)[remainder];
        inode.on_disk = inode.content;
        inode.on_disk_is_current = true;
        after.inodes[number] = inode;
    }
    after.names_on_disk = after.names;
    after.folders_on_disk = after.folders;
    return after;
}

}  // namespace

std::vector<DiskState> DiskState::after_power_cut() const {
    std::vector<DiskState> states;
    for (std::size_t chosen = 0; chosen < std::size_t{1} << pending.size(); ++chosen)
        for (std::size_t remainder = 0; remainder < remains("").size(); ++remainder)
            states.push_back(restarted(*this, chosen, remainder));
    return states;
}

const std::string* DiskState::content(const std::string& path) const {
    const auto name = names.find(path);
    return name == names.end() ? nullptr : &inodes.at(name->second).content;
}

void DiskState::place(const std::string& path, std::string_view content) {
    folders.insert(folder_of(path));
    folders_on_disk.insert(folder_of(path));
    const int number = next_inode++;
    inodes[number] = {std::string(content), std::string(content), true, ++now};
    names[path] = number;
    names_on_disk[path] = number;
}

void SimulatedDisk::rewrite_in_place(const std::string& path, std::string_view content) {
    DiskState::Inode& inode = state.inodes.at(state.names.at(path));
    inode.content = content;
    inode.on_disk_is_current = false;
    inode.written_at = ++now;
    inode.marked = false;
}

int SimulatedDisk::open_files() const {
    return static_cast<int>(open_table.size());
}

SimulatedDisk& SimulatedDisk::reset() {
    disk() = SimulatedDisk();
    open_table.clear();
    first_file = next_file;
    return disk();
}

SimulatedDisk& disk() {
    static SimulatedDisk only;
    return only;
}

namespace nvram::io {

bool identify(const char* path, Identity& identity) {
    if (!operation() || missing(path) || beyond_the_clock()) return false;
    identity = identity_of(disk().state.names.at(path));
    return true;
}

bool identify_open(int file, Identity& identity) {
    if (!operation() || beyond_the_clock()) return false;
    identity = identity_of(open_table.at(file).inode);
    return true;
}

int open_to_read(const char* path) {
    if (!operation() || missing(path)) return -1;
    return open_inode(disk().state.names.at(path), false);
}

bool read_all(int file, std::size_t limit, std::string& text) {
    if (!operation()) return false;
    ++disk().reads;
    const std::string& content = disk().state.inodes.at(open_table.at(file).inode).content;
    errno = EFBIG;
    if (content.size() > limit) return false;
    text = content;
    return true;
}

int create(const char* path) {
    if (!operation()) return -1;
    if (disk().state.names.contains(path)) change_names({.removed = path, .added = "", .inode = 0});
    done();
    const int inode = new_file(path);
    if (inode == 0) return -1;
    done();
    return open_inode(inode, false);
}

bool write_all(int file, std::string_view text) {
    const bool whole = operation();
    DiskState::Inode& inode = disk().state.inodes.at(open_table.at(file).inode);
    // A disk that becomes full has written a part.
    inode.content += whole ? text : text.substr(0, text.size() / 2);
    inode.on_disk_is_current = false;
    inode.written_at = ++now;
    inode.marked = false;
    done();
    return whole;
}

bool sync(int file) {
    if (!operation()) return false;
    DiskState::Inode& inode = disk().state.inodes.at(open_table.at(file).inode);
    if (!disk().ignore_file_sync) {
        inode.on_disk = inode.content;
        inode.on_disk_is_current = true;
    }
    done();
    return true;
}

std::size_t read_at(int file, std::size_t place, char* bytes, std::size_t size) {
    if (!operation()) return 0;
    const std::string& content = disk().state.inodes.at(open_table.at(file).inode).content;
    const std::size_t count = place < content.size() ? content.copy(bytes, size, place) : 0;
    disk().bytes_read += count;
    return count;
}

void mark_sorted(int file) {
    if (!operation()) return;
    disk().state.inodes.at(open_table.at(file).inode).marked = true;
    done();
}

std::size_t marked_size(int file) {
    if (!operation() || beyond_the_clock()) return 0;
    const DiskState::Inode& inode = disk().state.inodes.at(open_table.at(file).inode);
    return inode.marked ? inode.content.size() : 0;
}

void close(int file) {
    // A store that outlives its disk closes the file that was open there.
    if (open_table.erase(file) == 1 || file < first_file) return;
    fprintf(stderr, "the store closes file %d, which is not open\n", file);
    abort();
}

bool rename(const char* from, const char* to) {
    if (!operation() || missing(from)) return false;
    change_names({.removed = from, .added = to, .inode = disk().state.names.at(from)});
    done();
    return true;
}

bool remove(const char* path) {
    if (!operation() || missing(path)) return false;
    change_names({.removed = path, .added = "", .inode = 0});
    done();
    return true;
}

bool has_memory(std::size_t bytes) {
    return bytes <= disk().memory;
}

long process_number() {
    return 7;
}

// All other processes have ended.
void remove_leftovers(const char* folder, std::string_view name) {
    if (!operation()) return;
    const std::string beginning = std::string(name) + ".";
    std::vector<std::string> leftovers;
    for (const auto& [path, inode] : disk().state.names) {
        if (folder_of(path) != folder) continue;
        const std::string other = path.substr(path.rfind('/') + 1);
        if (!other.starts_with(beginning)) continue;
        char* end = nullptr;
        const long number = strtol(other.c_str() + beginning.size(), &end, 10);
        if (number > 0 && std::string_view(end) == ".new" && number != process_number())
            leftovers.push_back(path);
    }
    for (const std::string& path : leftovers) {
        change_names({.removed = path, .added = "", .inode = 0});
        done();
    }
}

bool make_folder(const char* path) {
    if (!operation()) return false;
    errno = EEXIST;
    if (disk().state.folders.contains(path)) return false;
    errno = ENOENT;
    if (!disk().state.folders.contains(folder_of(path))) return false;
    change_names({.removed = "", .added = path, .inode = 0});
    done();
    return true;
}

bool sync_folder(const char* path) {
    if (!operation()) return false;
    DiskState& state = disk().state;
    if (!disk().ignore_folder_sync) {
        std::vector<DiskState::NameChange> others;
        for (const DiskState::NameChange& change : state.pending) {
            const std::string& name = change.added.empty() ? change.removed : change.added;
            if (folder_of(name) == path) {
                carry_out(change, state.names_on_disk, state.folders_on_disk);
            } else {
                others.push_back(change);
            }
        }
        state.pending = others;
    }
    done();
    return true;
}

// A second lock would wait for ever; here it is an error that the test sees.
static int lock_inode(int inode) {
    for (const auto& [number, file] : open_table) {
        errno = EDEADLK;
        if (file.lock && file.inode == inode) return -1;
    }
    return open_inode(inode, true);
}

int lock(const char* path) {
    if (!operation() || missing(path)) return -1;
    return lock_inode(disk().state.names.at(path));
}

int make_and_lock(const char* path) {
    if (!operation()) return -1;
    const bool present = disk().state.names.contains(path);
    const int inode = present ? disk().state.names.at(path) : new_file(path);
    return inode == 0 ? -1 : lock_inode(inode);
}

}  // namespace nvram::io
