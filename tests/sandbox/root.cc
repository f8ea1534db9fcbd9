// The root folder of one sealed run.

#include "root.h"

#include <string.h>
#include <sys/stat.h>

#include <filesystem>

#include "libnvram/generation.h"
#include "trace.h"

namespace fs = std::filesystem;

namespace {

// Other folders are created with the files in them, or when rc or its shell writes there.
constexpr const char* folders[] = {".sealed", "bin", "dev", "etc", "flash",
                                   "proc",    "tmp", "usr", "var"};

std::string kit_path(const std::string& folder, size_t number) {
    return folder + "/" + std::to_string(number);
}

std::string put(const std::string& root, const std::string& path, std::string_view content) {
    const std::string place = root + path;
    std::error_code error;
    fs::create_directories(fs::path(place).parent_path(), error);
    if (error || !sealed::write_file(place.c_str(), content)) return path + " cannot be written";
    return "";
}

// The flash's file in the store's format: the first commit goes to slot a.
std::string flash_content(const std::string& image) {
    return nvram::encode({.number = 1, .image = image});
}

std::string put_hidden_files(const std::string& root, const World& world) {
    std::vector<std::string> denied;
    for (const auto& [path, mode] : world.denied) denied.insert(denied.end(), {path, mode});
    std::vector<std::string> outputs;
    for (const auto& [line, output] : world.outputs) outputs.insert(outputs.end(), {line, output});
    std::vector<std::string> changes;
    for (const World::Change& change : world.changes)
        changes.insert(changes.end(), {change.after, change.key, change.value});

    std::string wrong = put(root, sealed::trace_file, "") + put(root, sealed::output_file, "") +
                        put(root, sealed::pid_file, std::to_string(world.pid)) +
                        put(root, sealed::denied_file, sealed::pack(denied)) +
                        put(root, sealed::outputs_file, sealed::pack(outputs)) +
                        put(root, sealed::changes_file, sealed::pack(changes)) +
                        put(root, sealed::clock_file, std::to_string(world.clock_microseconds));
    if (world.get("/proc/uptime")) return wrong;
    wrong += put(root, sealed::uptime_file, std::to_string(world.uptime_microseconds));
    return wrong + put(root, "/proc/uptime", sealed::uptime_text(world.uptime_microseconds));
}

// The resolver's files, so that names resolve as the case states.
std::string put_hosts(const std::string& root, const World& world) {
    std::string hosts;
    for (const auto& [name, address] : world.hosts) hosts += address + " " + name + "\n";
    return put(root, "/etc/hosts", hosts) + put(root, "/etc/nsswitch.conf", "hosts: files\n");
}

std::string link_kit(const std::string& root, const Kit& kit, const std::string& kit_folder) {
    for (size_t i = 0; i < kit.size(); i++) {
        for (const std::string& path : kit[i].paths) {
            const fs::path place = root + path;
            std::error_code error;
            fs::create_directories(place.parent_path(), error);
            fs::create_hard_link(kit_path(kit_folder, i), place, error);
            if (error) return path + ": " + error.message();
        }
    }
    return "";
}

}  // namespace

bool store_kit(const Kit& kit, const std::string& folder) {
    fs::create_directories(folder);
    for (size_t i = 0; i < kit.size(); i++) {
        const std::string path = kit_path(folder, i);
        // Read-only, so that no run can change the next run's programs by mistake.
        if (!sealed::write_file(path.c_str(), kit[i].content) || chmod(path.c_str(), 0555) != 0)
            return false;
    }
    return true;
}

std::string make_root(const std::string& root, const Kit& kit, const std::string& kit_folder,
                      const World& world) {
    for (const char* folder : folders) fs::create_directories(root + "/" + folder);
    for (const char* folder : {"/sbin", "/usr/bin", "/usr/sbin"})
        fs::create_symlink("/bin", root + folder);
    std::string wrong = link_kit(root, kit, kit_folder) + put(root, "/dev/null", "") +
                        put_hidden_files(root, world) + put_hosts(root, world);
    for (const auto& [path, content] : world.files)
        wrong += path == flash_image ? put(root, path + ".a", flash_content(*content))
                                     : put(root, path, *content);
    return wrong;
}

void remove_root(const std::string& root) {
    std::error_code error;
    fs::remove_all(root, error);
}
