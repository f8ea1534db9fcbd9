// replay_faults: plays case files once for every call that can fail, with that call failing, and
// once with that call and all later ones of its kind failing.
//   replay_faults [--every N] CASE_OR_FOLDER...      only every Nth fault, but all of the rare
//   kinds

#include <algorithm>
#include <iostream>

#include "plan/router/case_file.h"
#include "replay.h"

namespace {

constexpr std::array<const char*, fallible_kinds> kind_names = {
    "open to read", "open to write", "read",       "write", "remove",        "shell", "pipe",
    "socket",       "host",          "kernel log", "load",  "get a setting", "set",   "commit",
};

bool is_rare(Fallible kind) {
    switch (kind) {
        case Fallible::Pipe:
        case Fallible::HostLookUp:
        case Fallible::KernelLog:
        case Fallible::SettingsLoad:
        case Fallible::SettingSet:
        case Fallible::SettingsCommit:
            return true;
        default:
            return false;
    }
}

struct Tally {
    long cases = 0;
    std::array<long, fallible_kinds> faults = {};
    long possible = 0;
    long broken = 0;
    int every = 1;

    bool takes_next(Fallible kind) { return is_rare(kind) || possible++ % every == 0; }
};

void play_with(const Case& stated, const Played& whole, const Faults& faults,
               const std::string& path, Tally& tally) {
    if (!tally.takes_next(faults.kind)) return;
    const Played faulty = play_case(stated, faults);
    const auto kind = static_cast<size_t>(faults.kind);
    const std::string fault = path + ": " + kind_names[kind] + " " + std::to_string(faults.at) +
                              (faults.once ? " fails" : " and later ones fail");
    tally.faults[kind]++;
    std::vector<std::string> broken = violated_invariants(stated, whole, faulty);
    if (faulty.recording.faults.failed == 0) broken.emplace_back("the fault was not reached");
    for (const std::string& what : broken) std::cout << fault << ": " << what << "\n";
    tally.broken += static_cast<long>(broken.size());
}

void play_with_every_fault(const Case& stated, const std::string& path, Tally& tally) {
    const Played whole = play_case(stated, {});
    tally.cases++;
    for (size_t kind = 0; kind < fallible_kinds; kind++) {
        const int calls = whole.recording.faults.calls[kind];
        for (int at = 1; at <= calls; at++) {
            Faults faults = {.calls = {}, .kind = static_cast<Fallible>(kind), .at = at};
            play_with(stated, whole, faults, path, tally);
            if (at == calls) continue;
            faults.once = false;
            play_with(stated, whole, faults, path, tally);
        }
    }
}

bool play_file(const std::string& path, Tally& tally) {
    const auto loaded = load_case(path);
    if (const auto* error = std::get_if<CaseError>(&loaded)) {
        std::cerr << error->message << "\n";
        return false;
    }
    play_with_every_fault(std::get<Case>(loaded), path, tally);
    return true;
}

void print_tally(const Tally& tally) {
    long all = 0;
    for (size_t kind = 0; kind < fallible_kinds; kind++) {
        std::cout << kind_names[kind] << " " << tally.faults[kind] << ", ";
        all += tally.faults[kind];
    }
    std::cout << "together " << all << " faults in " << tally.cases << " cases, " << tally.broken
              << " invariants violated\n";
}

}  // namespace

int main(int argc, char** argv) {
    Tally tally;
    int at = 1;
    if (argc > 2 && std::string_view(argv[1]) == "--every") {
        tally.every = std::max(1, atoi(argv[2]));
        at = 3;
    }
    for (; at < argc; at++)
        for (const std::string& path : case_paths(argv[at]))
            if (!play_file(path, tally)) return 2;
    print_tally(tally);
    return tally.cases > 0 && tally.broken == 0 ? 0 : 1;
}
