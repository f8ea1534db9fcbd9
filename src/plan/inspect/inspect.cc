// All parts of the comparison, by weight.

#include "plan/inspect/inspect.h"

#include <algorithm>

const char* kind_name(Deviation::Kind kind) {
    switch (kind) {
        case Deviation::Kind::Trap:
            return "trap";
        case Deviation::Kind::Setting:
            return "setting";
        case Deviation::Kind::Wan:
            return "wan";
        case Deviation::Kind::Interface:
            return "interface";
        case Deviation::Kind::Route:
            return "route";
        case Deviation::Kind::Process:
            return "process";
        case Deviation::Kind::Rule:
            return "rule";
        case Deviation::Kind::File:
            return "file";
    }
    return "";
}

std::vector<Deviation> deviations(const Bundle& bundle, const FoundRouter& found,
                                  const ExpectedRouter& expected) {
    Deviations list;
    inspect_traps(found, list);
    inspect_settings(found, expected, list);
    inspect_links(found, expected, list);
    inspect_processes(found, expected, list);
    inspect_rules(bundle, found, expected, list);
    inspect_files(found, expected, list);
    inspect_ages(found, expected, list);
    for (Deviation& deviation : list) deviation.expected = found.hide(deviation.expected);
    std::ranges::stable_sort(list, {}, [](const Deviation& deviation) {
        return std::pair(deviation.note, deviation.kind);
    });
    return list;
}
