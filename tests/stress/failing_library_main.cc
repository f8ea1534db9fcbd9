// failing_library: every action of the real rc over a settings library that fails from the first
// call, or from a later one, on.

#include <sys/wait.h>

#include <iostream>

#include "room.h"

namespace {

const std::vector<std::vector<std::string>> actions = {
    {"init"},
    {"start"},
    {"stop"},
    {"create"},
    {"service", "start"},
    {"service", "stop"},
    {"service", "create"},
    {"wan", "start"},
    {"wan", "stop"},
};

// The first failing call: the first few calls, then with growing gaps; the last is beyond the
// longest action.
std::vector<int> beginnings() {
    std::vector<int> list;
    for (int at = 1; at < 700; at += 1 + at / 3) list.push_back(at);
    return list;
}

// The fault in an action's result, or "".
std::string play(const Settings& settings, const std::vector<std::string>& action, int from) {
    stress::reset_router(settings, "3600.00 3600.00\n");
    const std::string image = stress::read_text("/tmp/nvram");
    std::vector<std::string> words = {"/bin/rc"};
    words.insert(words.end(), action.begin(), action.end());
    const pid_t child = stress::start({.words = words, .run = "it", .failing_from = from});
    int status = 0;
    if (waitpid(child, &status, 0) != child) return "is lost";
    stress::wait_for_all();
    if (WIFSIGNALED(status)) return "ends by signal " + std::to_string(WTERMSIG(status));
    if (WEXITSTATUS(status) != 0) return "ends with " + std::to_string(WEXITSTATUS(status));
    if (stress::read_text("/tmp/nvram") != image) return "changes the settings";
    const bool initialises = action[0] == "init";
    const bool says_so =
        stress::output_of("it").starts_with("debug init rc -- nvram load failed \n");
    if (initialises != says_so) return "says " + stress::output_of("it");
    return "";
}

}  // namespace

int main(int argc, char** argv) {
    stress::Options options;
    if (!stress::read_options(argc, argv, options)) return stress::wrong_use;
    return stress::in_room(options, [](const Settings& settings) {
        int played = 0;
        int wrong = 0;
        for (const std::vector<std::string>& action : actions) {
            for (const int from : beginnings()) {
                const std::string what = play(settings, action, from);
                played++;
                if (what.empty()) continue;
                wrong++;
                std::cout << "rc " << action[0] << (action.size() > 1 ? " " + action[1] : "")
                          << ", no value from call " << from << " on: " << what << "\n";
            }
        }
        std::cout << played << " runs, " << wrong << " wrong\n";
        return wrong == 0 ? stress::passed : stress::failed;
    });
}
