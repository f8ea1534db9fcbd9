// Special applications: the records of "fw_spapp".

#include "firewall/trigger_lists.h"

#include "core/limits.h"
#include "core/text.h"

namespace {

// The module's code of a protocol; an unknown one keeps the previous record's code.
int protocol_code(std::string_view text, int before) {
    if (text == "tcp") return 1;
    if (text == "udp") return 2;
    if (text == "both") return 0;
    return before;
}

struct PortRange {
    std::string first;
    std::string last;
};

PortRange take_range(std::string_view& record) {
    const std::string_view first = take_field(record, '-');
    return {.first = std::string(first), .last = std::string(take_field(record, ':'))};
}

std::string entry(const char* comma, int code, const PortRange& ports) {
    return format("%s%d,%s,%s", comma, code, ports.first.c_str(), ports.last.c_str());
}

}  // namespace

TriggerLists parse_triggers(std::string_view list) {
    TriggerLists lists;
    int trigger_code = 0;
    int incoming_code = 0;
    while (!list.empty()) {
        std::string_view record = take_field(list, '\x01');
        take_field(record, ':');  // the index
        if (leading_int(take_field(record, ':')) == 0) continue;
        take_field(record, ':');  // the name
        trigger_code = protocol_code(take_field(record, ':'), trigger_code);
        const PortRange trigger = take_range(record);
        incoming_code = protocol_code(take_field(record, ':'), incoming_code);
        const PortRange incoming = take_range(record);

        const char* comma = lists.entries > 0 ? "," : "";
        const std::string out = entry(comma, trigger_code, trigger);
        const std::string in = entry(comma, incoming_code, incoming);
        if (lists.outport.size() + out.size() > limits::trigger_list ||
            lists.inport.size() + in.size() > limits::trigger_list)
            continue;
        lists.outport += out;
        lists.inport += in;
        lists.entries++;
    }
    return lists;
}
