// overlap: two and more concurrent runs of the real rc in a sealed root, first held at chosen
// points and then free, while other processes store settings.

#include <iostream>

#include "overlap.h"

int main(int argc, char** argv) {
    stress::Options options;
    if (!stress::read_options(argc, argv, options)) return stress::wrong_use;
    return stress::in_room(options, [&](const Settings& settings) {
        const int rounds = options.rounds > 0 ? options.rounds : 6;
        int wrong = stress::play_held_runs(settings);
        std::cout << "held runs: " << wrong << " wrong\n" << std::flush;
        wrong += stress::play_free_runs(settings, options.seed, rounds);
        return wrong == 0 ? stress::passed : stress::failed;
    });
}
