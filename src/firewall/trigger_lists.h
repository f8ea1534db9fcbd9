// Special applications: the lists that are passed to the port triggering module.
#ifndef RC_FIREWALL_TRIGGER_LISTS_H
#define RC_FIREWALL_TRIGGER_LISTS_H

#include <string>
#include <string_view>

// One entry of each list for every application, protocol code, first and last port.
struct TriggerLists {
    std::string outport;
    std::string inport;
    int entries = 0;
};

// Reads index:enabled:name:protocol:first-last:protocol:first-last records. A record that would not
// fit is left out of both lists.
TriggerLists parse_triggers(std::string_view list);

#endif
