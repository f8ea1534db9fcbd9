// A difference between a router and what rc would make of its settings.
#ifndef RC_PLAN_INSPECT_DEVIATION_H
#define RC_PLAN_INSPECT_DEVIATION_H

#include <string>
#include <vector>

struct Deviation {
    // By weight: the first kinds explain the later ones.
    enum class Kind { Trap, Setting, Wan, Interface, Route, Process, Rule, File };
    Kind kind = Kind::File;
    // The thing: "udhcpd", "/etc/udhcpd.conf", "chain FORWARD of table filter".
    std::string what;
    std::string expected = {};  // empty: nothing of the kind
    std::string found = {};     // empty: nothing
    // The settings behind it, by name.
    std::vector<std::string> settings = {};
    // What to do.
    std::string fix;
    // Worth knowing, but as it may be on a router that works.
    bool note = false;
};

// "process", "rule", as users name it.
const char* kind_name(Deviation::Kind kind);

#endif
