// Wrong values whose lines are not what a glance at the setting suggests: rc cuts them, reads them
// together with what follows, or writes them only once the WAN is up.
#ifndef RC_TESTS_TRAPS_H
#define RC_TESTS_TRAPS_H

#include <string>
#include <vector>

struct Trap {
    const char* name;
    const char* base;  // the settings around it, as wrong_setting() names them
    const char* key;
    std::string value;
    std::vector<std::string> effects;  // of all findings about the key
};

const std::vector<Trap>& traps();

#endif
