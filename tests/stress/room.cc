// A sealed root in which the real programs run.

#include "room.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>

#include "libnvram/generation.h"
#include "names.h"
#include "plan/router/world.h"
#include "tests/sandbox/kit.h"
#include "tests/sandbox/root.h"
#include "tests/sandbox/seal.h"
#include "tests/sandbox/trace.h"

namespace fs = std::filesystem;

namespace stress {

namespace {

// Longer than many rounds take on a busy machine; CTest ends a test that hangs.
constexpr int deadline = 24 * 3600;

constexpr const char* status_file = "/.sealed/status";

const std::string root = std::string(private_folder) + "/root";

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> list;
    list.reserve(texts.size() + 1);
    for (std::string& text : texts) list.push_back(text.data());
    list.push_back(nullptr);
    return list;
}

std::vector<std::string> environment_of(const Start& what) {
    std::vector<std::string> environment = {
        std::string("LD_PRELOAD=") + recorder_library,
        std::string("LD_LIBRARY_PATH=") + library_folder,
        "PATH=/bin",
        std::string(run_variable) + "=" + what.run,
    };
    if (what.seed != 0)
        environment.push_back(std::string(seed_variable) + "=" + std::to_string(what.seed));
    if (what.storm != 0) environment.push_back("STRESS_STORM=" + std::to_string(what.storm));
    if (what.failing_from != 0)
        environment.push_back("STRESS_FAILING_FROM=" + std::to_string(what.failing_from));
    return environment;
}

std::string output_path(const std::string& run) {
    return "/.sealed/output-" + run;
}

[[noreturn]] void become(const Start& what) {
    std::vector<std::string> words = what.words;
    std::vector<std::string> environment = environment_of(what);
    const int nowhere = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int output = open(output_path(what.run).c_str(),
                            O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
    dup2(nowhere, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    if (what.traced && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(126);
    execve(words[0].c_str(), pointers(words).data(), pointers(environment).data());
    _exit(127);
}

int said(const std::string& what, int status) {
    std::cout << what << "\n" << std::flush;
    return status;
}

}  // namespace

bool read_options(int argc, char** argv, Options& options) {
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string_view name = argv[i];
        const std::string value = argv[i + 1];
        if (name == "--rc") options.rc = value;
        if (name == "--nvram") options.nvram = value;
        if (name == "--lib") options.library = value;
        if (name == "--settings") options.settings = value;
        if (name == "--seed") options.seed = static_cast<unsigned>(atoi(value.c_str()));
        if (name == "--rounds") options.rounds = atoi(value.c_str());
    }
    if (!options.rc.empty() && !options.nvram.empty() && !options.library.empty() &&
        !options.settings.empty())
        return true;
    std::cerr << "Usage: " << argv[0]
              << " --rc FILE --nvram FILE --lib FILE --settings FILE [--seed N] [--rounds N]\n";
    return false;
}

int in_room(const Options& options, const std::function<int(const Settings& settings)>& inside) {
    const Programs programs = {.rc = options.rc,
                               .nvram = options.nvram,
                               .library = options.library,
                               .preloaded = own_folder() + "libquick.so",
                               .stand_in = own_folder() + "stand_in"};
    const Settings settings = read_settings(sealed::read_file(options.settings.c_str()));
    if (settings.empty()) return said(options.settings + " holds no settings", wrong_use);
    const auto kit = gather_kit(programs);
    if (const auto* missing = std::get_if<std::string>(&kit)) return said(*missing, wrong_use);

    if (const std::string obstacle = enter_private_mounts(""); !obstacle.empty())
        return said("skipped: " + obstacle, skipped);
    const std::string kit_folder = std::string(private_folder) + "/kit";
    const World world;
    if (!store_kit(std::get<Kit>(kit), kit_folder))
        return said("the programs cannot be stored", wrong_use);
    if (const std::string wrong = make_root(root, std::get<Kit>(kit), kit_folder, world);
        !wrong.empty())
        return said(wrong, wrong_use);

    const SealedEnd end = run_inside(root, world, "", deadline, [&] {
        write_text(status_file, std::to_string(inside(settings)));
        std::cout << std::flush;
        return 0;
    });
    if (end.kind == SealedEnd::NotPermitted)
        return said("skipped: network and process namespaces are not permitted", skipped);
    if (end.kind == SealedEnd::TimedOut) return said("it hangs", failed);
    const std::string status = sealed::read_file((root + status_file).c_str());
    if (end.kind != SealedEnd::Ended || status.empty())
        return said("the sealed root could not be used", failed);
    return atoi(status.c_str());
}

void reset_router(const Settings& settings, const char* uptime) {
    for (const char* folder : {"/tmp", "/var", "/etc", "/flash", "/proc"}) {
        fs::create_directories(folder);
        for (const auto& entry : fs::directory_iterator(folder)) fs::remove_all(entry.path());
    }
    for (const char* folder : {"/tmp/ppp", "/tmp/l2tp", "/var/run", "/proc/sys/net/ipv4/netfilter"})
        fs::create_directories(folder);
    for (const auto& entry : fs::directory_iterator("/.sealed")) {
        const std::string name = entry.path().filename();
        if (name.starts_with("gate-") || name.starts_with("output-") || name == "log")
            fs::remove(entry.path());
    }
    const std::string image = settings_image(settings);
    write_text("/proc/uptime", uptime);
    write_text("/etc/default", image);
    write_text("/etc/crontab", "");
    write_text("/etc/rcS_router", "");
    write_text("/tmp/nvram", image);
    write_text("/flash/nvram.a", nvram::encode({.number = 1, .image = image}));
    write_text(log_file, "");
}

pid_t start(const Start& what) {
    const pid_t child = fork();
    if (child == 0) become(what);
    return child;
}

std::string output_of(const std::string& run) {
    return read_text(output_path(run));
}

std::string log_text() {
    return read_text(log_file);
}

void wait_for_all() {
    while (wait(nullptr) > 0 || errno == EINTR) continue;
}

bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

std::string read_text(const std::string& path) {
    return sealed::read_file(path.c_str());
}

bool write_text(const std::string& path, const std::string& text) {
    return sealed::write_file(path.c_str(), text);
}

}  // namespace stress
