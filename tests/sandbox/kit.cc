// The programs of a sealed root: rc and its settings store from the build tree, the C library that
// they load, the recorder, and a real shell from the machine.

#include "kit.h"

#include <limits.h>
#include <link.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <set>

#include "core/text.h"
#include "trace.h"

namespace {

// The programs that shell lines may call. Each is a stub or a file tool; /usr/sbin and the other
// program folders are one folder.
constexpr std::string_view program_names =
    "IGMPProxy bpalogin bpamonitor brctl busybox cat chmod cp cut echo ez-ipupdate grep head ifconfig insmod iptables "
    "iwpriv kill killall l2tpd ln mini_httpd mkdir mv ntp pppd pppoe-relay pptp ps ras rasmonitor rm rmdir rmmod route "
    "routed rt2860apd sed sh sleep syslogd tail tc test touch udhcpc udhcpd upnpd wscd";

template <class Header, class Part>
std::string loader_in(const std::string& program) {
    Header header;
    if (program.size() < sizeof header) return "";
    memcpy(&header, program.data(), sizeof header);
    for (size_t i = 0; i < header.e_phnum; i++) {
        Part part;
        const size_t at = header.e_phoff + i * sizeof part;
        if (at + sizeof part > program.size()) return "";
        memcpy(&part, program.data() + at, sizeof part);
        if (part.p_type != PT_INTERP || part.p_offset + part.p_filesz > program.size()) continue;
        return program.substr(part.p_offset, part.p_filesz - 1);
    }
    return "";
}

// The dynamic loader that a program names; empty for a static one.
std::string loader_of(const std::string& program) {
    if (program.size() > EI_CLASS && program[EI_CLASS] == ELFCLASS32)
        return loader_in<Elf32_Ehdr, Elf32_Phdr>(program);
    return loader_in<Elf64_Ehdr, Elf64_Phdr>(program);
}

// The shared libraries that the loader would load, from its listing "name => path (address)".
std::vector<std::string> libraries_of(const std::string& program) {
    std::vector<std::string> paths;
    FILE* list = popen(
        ("LD_TRACE_LOADED_OBJECTS=1 '" + std::filesystem::absolute(program).string() + "'").c_str(),
        "r");
    if (!list) return paths;
    char line[2 * PATH_MAX];
    while (fgets(line, sizeof line, list)) {
        const std::string_view text = line;
        const size_t arrow = text.find(" => /");
        const size_t end = text.rfind(" (");
        if (arrow == std::string_view::npos || end == std::string_view::npos) continue;
        paths.emplace_back(text.substr(arrow + 4, end - arrow - 4));
    }
    pclose(list);
    return paths;
}

class Gathering {
  public:
    Kit kit;
    std::string missing;

    explicit Gathering(std::string sysroot) : sysroot_(std::move(sysroot)) {}

    void take(const std::string& from, const std::vector<std::string>& to) {
        std::string content = sealed::read_file(from.c_str());
        if (content.empty()) missing = from + " cannot be read";
        kit.push_back({.content = std::move(content), .paths = to});
    }

    void take_program(const std::string& from, const std::string& to) {
        take(from, {to});
        const std::string loader = loader_of(kit.back().content);
        if (loader.empty()) return;
        if (taken_.insert(loader).second) take(sysroot_ + loader, {loader});
        if (!sysroot_.empty()) return;
        for (const std::string& path : libraries_of(from)) {
            const std::string name = path.substr(path.rfind('/') + 1);
            // The settings library is the one given by the caller.
            if (name != "libnvram.so" && taken_.insert(name).second)
                take(path, {std::string(library_folder) + "/" + name});
        }
    }

  private:
    std::string sysroot_;
    std::set<std::string> taken_;
};

// A static busybox, so that the recorder is not loaded into it.
std::optional<std::string> static_busybox() {
    for (const char* path : {"/bin/busybox", "/usr/bin/busybox"})
        if (const std::string content = sealed::read_file(path);
            !content.empty() && loader_of(content).empty())
            return path;
    return std::nullopt;
}

}  // namespace

std::string own_folder() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    const std::string program(path, length > 0 ? static_cast<size_t>(length) : 0);
    return program.substr(0, program.rfind('/') + 1);
}

std::variant<Kit, std::string> gather_kit(const Programs& programs) {
    const std::optional<std::string> busybox = static_busybox();
    if (!busybox) return "a static busybox (Debian: busybox-static) is not installed";
    // The real shell starts its own applets, killall and the like, from /proc/self/exe.
    std::vector<std::string> stub_paths = {"/proc/self/exe"};
    for (std::string_view names = program_names; !names.empty();)
        stub_paths.push_back("/bin/" + std::string(take_field(names, ' ')));

    std::string folder = "/bin/";
    Gathering gathering(programs.sysroot);
    if (!programs.emulator.empty()) {
        folder = sealed::emulated_folder;
        gathering.take(programs.emulator, {sealed::emulator});
        stub_paths.insert(stub_paths.end(), {"/bin/rc", "/bin/nvram"});
    }
    gathering.take_program(programs.rc, folder + "rc");
    gathering.take_program(programs.nvram, folder + "nvram");
    gathering.take(programs.library, {std::string(library_folder) + "/libnvram.so"});
    gathering.take(programs.preloaded, {recorder_library});
    gathering.take(*busybox, {sealed::real_shell});
    gathering.take(programs.stub, stub_paths);
    if (!gathering.missing.empty()) return gathering.missing;
    return gathering.kit;
}
