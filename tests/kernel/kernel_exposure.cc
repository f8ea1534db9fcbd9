// Plays the rules of routers in this machine's kernel, and compares what passes with the rows of
// `rcplan exposure`, with `rcplan packet` and with the openings of `rcplan diff`.

#include <stdio.h>
#include <stdlib.h>

#include <fstream>
#include <sstream>

#include "agreement.h"
#include "core/text.h"
#include "differences.h"
#include "random_settings.h"

namespace {

constexpr const char* usage =
    "usage: kernel_exposure agree   NET RESTORE FACTORY PACKETS SETTINGS...\n"
    "       kernel_exposure changes NET RESTORE FACTORY PACKETS FIRST STEP SETTINGS...\n"
    "Sends packets through the rules of routers, which iptables-restore (RESTORE) loads into the\n"
    "network namespace NET (a file). The cables far_lan and far_wan lead to its br0 and eth2.2.\n"
    "  agree    the rows, rcplan packet and the kernel agree on each packet\n"
    "  changes  the same packets before and after a change of a single rule: the difference has\n"
    "           all that go elsewhere; of all changes, from FIRST on each STEPth\n"
    "PACKETS is the least number from each side. SETTINGS is a file with one key=value per line, or\n"
    "\"random SEED FIRST LAST\": settings drawn at random, changes to those of the file FACTORY.\n"
    "Prints a line for each router, \"ok\" or \"FAIL\" first, and before it what is wrong.\n"
    "Status: 0 all agree, 1 not, 2 wrong use, or something is not permitted.\n";

[[noreturn]] void refuse(const std::string& message) {
    fprintf(stderr, "kernel_exposure: %s\n", message.c_str());
    exit(2);
}

Settings settings_in(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file) refuse(path + " cannot be read");
    return read_settings(text.str());
}

unsigned number_in(const std::string& word) {
    const std::optional<unsigned> number = read_number(word, 0, 1'000'000);
    if (!number) refuse("'" + word + "' is not a number");
    return *number;
}

struct Router {
    std::string name;
    Settings settings;
};

std::vector<Router> routers_of(const std::string& text, const std::string& factory) {
    std::string_view words = text;
    if (take_field(words, ' ') != "random")
        return {{text.substr(text.rfind('/') + 1), settings_in(text)}};
    const unsigned seed = number_in(std::string(take_field(words, ' ')));
    const unsigned first = number_in(std::string(take_field(words, ' ')));
    const unsigned last = number_in(std::string(words));
    RandomSettings random(seed);
    std::vector<Router> routers;
    for (unsigned i = 0; i <= last; i++) {
        Settings settings = settings_in(factory);
        for (const auto& [key, value] : random.draw()) settings[key] = value;
        if (i >= first)
            routers.push_back({format("random settings %u of seed %u", i, seed), settings});
    }
    return routers;
}

bool agree(Wire& wire, const Router& router, size_t packets, unsigned seed) {
    const AgreementCount count = compare_three(wire, router.settings, router.name, packets, seed);
    std::string inside;
    for (const auto& [state, number] : count.inside)
        inside += format(", %zu %s", number, state.c_str());
    printf(
        "%s %s: %zu packets, of these in rows%s, %zu in none, %zu beyond rows; %zu left out;"
        " %zu rules, %zu rows; %zu differences\n",
        count.differences == 0 ? "ok" : "FAIL", router.name.c_str(), count.packets,
        inside.empty() ? " 0" : inside.substr(1).c_str(), count.outside, count.beyond_rows,
        count.left_out, count.rules, count.rows, count.differences);
    std::string replaced;
    for (const auto& [what, number] : count.replaced)
        replaced += format("%s %s %zu", replaced.empty() ? "" : ",", what.c_str(), number);
    printf("replaced in rules:%s\n", replaced.c_str());
    return count.differences == 0;
}

bool compare_changed(Wire& wire, const Router& router, size_t packets, size_t first, size_t step) {
    const DifferenceCount count =
        compare_changes(wire, router.settings, router.name, packets, first, step);
    printf(
        "%s %s: %zu changes of single rules, %zu of them move packets; %zu packets, %zu moved;"
        " %zu differences\n",
        count.wrong == 0 ? "ok" : "FAIL", router.name.c_str(), count.changes, count.shown,
        count.packets, count.moved, count.wrong);
    return count.wrong == 0;
}

}  // namespace

int main(int count, char** words) {
    const std::vector<std::string> arguments(words, words + count);
    const bool changes = count > 1 && arguments[1] == "changes";
    const size_t routers = changes ? 8 : 6;
    if (arguments.size() <= routers || (!changes && arguments[1] != "agree")) {
        fputs(usage, stderr);
        return 2;
    }
    Wire wire(arguments[2], {{"br0", "far_lan"}, {"eth2.2", "far_wan"}}, arguments[3]);
    const size_t packets = number_in(arguments[5]);
    bool all = true;
    unsigned seed = 0;
    for (size_t i = routers; i < arguments.size(); i++)
        for (const Router& router : routers_of(arguments[i], arguments[4])) {
            const bool fine = changes
                                  ? compare_changed(wire, router, packets, number_in(arguments[6]),
                                                    std::max(1U, number_in(arguments[7])))
                                  : agree(wire, router, packets, ++seed);
            all = all && fine;
            fflush(stdout);
        }
    return all ? 0 : 1;
}
