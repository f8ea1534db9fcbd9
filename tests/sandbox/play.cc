// sealed_play: plays case files with the real rc in a sealed root and compares the transcripts.

#include <string.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <set>

#include "core/text.h"
#include "kit.h"
#include "plan/router/case.h"
#include "plan/router/case_file.h"
#include "root.h"
#include "seal.h"
#include "trace.h"

namespace fs = std::filesystem;

namespace {

constexpr int done = 0;
constexpr int differs = 1;
constexpr int wrong_use = 2;
// CTest shows this status as "skipped".
constexpr int skipped = 77;

constexpr const char* usage =
    "Usage: sealed_play --rc FILE --nvram FILE --lib FILE [--deadline SECONDS] [--share FOLDER] "
    "[--recorder FILE --sysroot FOLDER [--emulator FILE]] CASE_OR_FOLDER...\n";

const std::string root = std::string(private_folder) + "/root";
const std::string kit_folder = std::string(private_folder) + "/kit";

struct NamedCase {
    std::string path;
    Case stated;
};

struct Options {
    int deadline = usual_deadline;
    // A folder of the machine that is visible in each root at the same path.
    std::string shared;
};

struct Outcome {
    int status = done;
    std::string said;
};

std::vector<std::string> environment_of(const World& world) {
    std::vector<std::string> environment = {std::string("LD_PRELOAD=") + recorder_library,
                                            std::string("LD_LIBRARY_PATH=") + library_folder,
                                            std::string(sealed::depth_variable) + "=0"};
    for (const auto& [name, value] : world.environment)
        environment.emplace_back(name).append("=").append(value);
    return environment;
}

// The transcript from the trace. Output before an event belongs to the run of that event.
std::optional<Transcript> transcript_of_root() {
    const auto events = sealed::parse_trace(sealed::read_file((root + sealed::trace_file).c_str()));
    const std::string output = sealed::read_file((root + sealed::output_file).c_str());
    if (!events) return std::nullopt;
    Transcript transcript;
    size_t printed = 0;
    for (const sealed::TraceEvent& event : *events) {
        if (event.printed < printed || event.printed > output.size()) return std::nullopt;
        transcript.depth = event.depth;
        transcript.print(output.substr(printed, event.printed - printed));
        printed = event.printed;
        if (event.body)
            transcript.add_with_body(event.verb, event.text, *event.body);
        else
            transcript.add(event.verb, event.text);
    }
    transcript.depth = 0;
    transcript.print(output.substr(printed));
    return transcript;
}

// Files with passwords that only root's programs read.
constexpr std::string_view secret_files[] = {"/tmp/ppp/chap-secrets", "/tmp/ppp/pap-secrets",
                                             "/tmp/syslog.conf", "/var/RT2860AP.dat",
                                             "/var/bpalogin.conf"};

// What is wrong with the modes of the files that the run made, one line each. The run had a umask
// of 0. A mode that rc set itself is in the transcript.
std::string wrong_modes(const Transcript& transcript) {
    std::set<std::string> written;
    std::set<std::string> set;
    for (const Event& event : transcript.events()) {
        if (event.verb == "write") written.insert(event.text);
        if (event.verb == "chmod") set.insert(event.text.substr(event.text.find('/')));
    }
    std::string wrong;
    for (const char* folder : {"/etc", "/tmp", "/var"}) {
        for (const auto& entry : fs::recursive_directory_iterator(root + folder)) {
            if (!entry.is_regular_file()) continue;
            const std::string path = entry.path().string().substr(root.size());
            const auto mode = static_cast<unsigned>(entry.status().permissions());
            const bool secret = written.contains(path) && std::ranges::count(secret_files, path);
            if (set.contains(path) || (secret ? mode == 0600 : (mode & 022) == 0)) continue;
            wrong += format("%s has the mode %04o\n", path.c_str(), mode);
        }
    }
    return wrong;
}

Outcome compare(const NamedCase& named, Transcript transcript, const SealedEnd& end) {
    // A run that was killed has no "exit".
    if (end.kind == SealedEnd::Killed)
        transcript.add("killed", std::string("by signal ") + strsignal(end.signal));
    if (end.kind == SealedEnd::TimedOut) transcript.add("killed", "after the deadline");
    const std::string difference =
        transcript_difference(named.stated.expected, transcript.text()) + wrong_modes(transcript);
    if (difference.empty()) return {done, "ok       " + named.path + "\n"};
    return {differs, "DIFFERS  " + named.path + ": " + named.stated.title +
                         "\n('-' expected but missing, '+' unexpected)\n" + difference};
}

Outcome play_in_root(const NamedCase& named, const Kit& kit, const Options& options) {
    const World world = case_world(named.stated);
    if (const std::string wrong = make_root(root, kit, kit_folder, world); !wrong.empty())
        return {wrong_use, "FAILED   " + named.path + ": " + wrong + "\n"};
    const SealedEnd end = run_sealed(root, named.stated.words, environment_of(world), world,
                                     options.shared, options.deadline);
    if (end.kind == SealedEnd::NotPermitted)
        return {skipped,
                "skipped: " + named.path + ": network and process namespaces are not permitted\n"};
    if (end.kind == SealedEnd::NoInterface)
        return {skipped, "skipped: " + named.path + ": its interfaces cannot be made here\n"};
    const std::optional<Transcript> transcript = transcript_of_root();
    // Even a run without effects records its end.
    const bool unrecorded =
        end.kind == SealedEnd::Ended && transcript && transcript->events().empty();
    if (end.kind == SealedEnd::Failed || !transcript || unrecorded)
        return {wrong_use, "FAILED   " + named.path + ": the sealed root could not be used\n"};
    return compare(named, *transcript, end);
}

int wrong(const std::string& what) {
    std::cerr << "sealed_play: " << what << "\n" << usage;
    return wrong_use;
}

// The error in the first wrong file, or "".
std::string read_cases(const std::string& folder, std::vector<NamedCase>& cases) {
    const std::vector<std::string> paths = case_paths(folder);
    for (const std::string& path : paths) {
        auto loaded = load_case(path);
        if (const auto* error = std::get_if<CaseError>(&loaded)) return error->message;
        cases.push_back({.path = path, .stated = std::move(std::get<Case>(loaded))});
    }
    return paths.empty() ? folder + ": there are no cases" : "";
}

// Differing and broken cases outrank skipped ones, and skipped ones outrank passed ones.
int worst(int a, int b) {
    if (a == done || b == done) return a + b;
    if (a == skipped || b == skipped) return std::min(a, b);
    return std::max(a, b);
}

int play_all(const std::vector<NamedCase>& cases, const Kit& kit, const Options& options) {
    if (const std::string obstacle = enter_private_mounts(options.shared); !obstacle.empty()) {
        std::cout << "skipped: " << obstacle << "\n";
        return skipped;
    }
    if (!store_kit(kit, kit_folder)) return wrong("the programs cannot be stored");
    int status = done;
    for (const NamedCase& named : cases) {
        remove_root(root);
        const Outcome outcome = play_in_root(named, kit, options);
        std::cout << outcome.said << std::flush;
        status = worst(status, outcome.status);
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    Programs programs = {.rc = {},
                         .nvram = {},
                         .library = {},
                         .preloaded = own_folder() + "librecord.so",
                         .stub = own_folder() + "sealed_sh"};
    Options options;
    size_t at = 0;
    for (; at < arguments.size() && arguments[at].starts_with("--"); at += 2) {
        if (at + 1 == arguments.size()) return wrong(arguments[at] + " needs a value");
        const std::string& value = arguments[at + 1];
        if (arguments[at] == "--rc") {
            programs.rc = value;
        } else if (arguments[at] == "--nvram") {
            programs.nvram = value;
        } else if (arguments[at] == "--lib") {
            programs.library = value;
        } else if (arguments[at] == "--recorder") {
            programs.preloaded = value;
        } else if (arguments[at] == "--sysroot") {
            programs.sysroot = value;
        } else if (arguments[at] == "--emulator") {
            programs.emulator = value;
        } else if (arguments[at] == "--deadline") {
            options.deadline = atoi(value.c_str());
        } else if (arguments[at] == "--share") {
            options.shared = value;
        } else {
            return wrong("unknown option " + arguments[at]);
        }
    }
    if (programs.rc.empty() || programs.nvram.empty() || programs.library.empty() ||
        at == arguments.size())
        return wrong("programs and cases are needed");

    // Read everything before the private mounts may hide it.
    std::vector<NamedCase> cases;
    for (; at < arguments.size(); at++)
        if (const std::string error = read_cases(arguments[at], cases); !error.empty())
            return wrong(error);
    const auto kit = gather_kit(programs);
    if (const auto* missing = std::get_if<std::string>(&kit)) return wrong(*missing);
    return play_all(cases, std::get<Kit>(kit), options);
}
