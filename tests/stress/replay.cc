// Plays a case again with a fault, and checks the invariants that must hold after any fault.

#include "replay.h"

#include <map>
#include <set>

#include "libnvram/image.h"

namespace {

using Values = std::map<std::string, std::set<std::string>>;

void add_values(Values& values, const Settings& settings) {
    for (const auto& [key, value] : settings) values[key].insert(value);
}

Settings stated_or_none(const std::optional<Settings>& settings) {
    return settings.value_or(Settings());
}

std::vector<const Event*> events_of(const Played& played, std::string_view verb) {
    std::vector<const Event*> found;
    for (const Event& event : played.recording.transcript.events())
        if (event.verb == verb) found.push_back(&event);
    return found;
}

// Whether the working copy was replaced as a whole, by a load or a copy.
bool replaces_image(const Played& played) {
    if (!events_of(played, "load").empty()) return true;
    for (const Event* event : events_of(played, "run"))
        if (event->text.find("cp /etc/default") != std::string::npos) return true;
    return false;
}

// The values that each setting may have after the run.
Values possible_values(const Case& stated, const Played& faulty) {
    Values values;
    add_values(values, stated.settings);
    add_values(values, stated_or_none(stated.flash));
    if (replaces_image(faulty)) add_values(values, stated_or_none(stated.factory));
    // By the run itself, and by another program meanwhile.
    for (const char* verb : {"set", "change"})
        for (const Event* event : events_of(faulty, verb))
            if (const auto assignment = split_assignment(event->text))
                values[assignment->first].insert(assignment->second);
    return values;
}

bool has_all_keys(const Settings& image, const Settings& of) {
    for (const auto& [key, value] : of)
        if (!image.contains(key)) return false;
    return true;
}

void check_image(const Case& stated, const Played& faulty, const char* path,
                 const std::vector<Settings>& origins, std::vector<std::string>& broken) {
    const std::string* text = faulty.recording.world.get(path);
    const std::string at = std::string(path) + ": ";
    if (!text) {
        // Only an image that never existed may be missing.
        if (case_world(stated).get(path)) broken.push_back(at + "is gone");
        return;
    }
    std::vector<nvram::BadLine> bad_lines;
    const nvram::Image image(*text, &bad_lines);
    if (!bad_lines.empty()) broken.push_back(at + "has a damaged line");

    const Settings settings = read_settings(*text);
    bool whole = false;
    for (const Settings& origin : origins) whole |= has_all_keys(settings, origin);
    if (!whole) broken.push_back(at + "has lost a key");
    const Values possible = possible_values(stated, faulty);
    for (const auto& [key, value] : settings) {
        const auto place = possible.find(key);
        if (place == possible.end() || !place->second.contains(value))
            broken.push_back(at + "no run stored " + key + "=" + value);
    }
}

void check_settings(const Case& stated, const Played& faulty, std::vector<std::string>& broken) {
    const Settings flash = stated_or_none(stated.flash);
    const Settings factory = stated_or_none(stated.factory);
    std::vector<Settings> origins;
    if (!stated.power_on) origins.push_back(stated.settings);
    if (replaces_image(faulty)) origins.insert(origins.end(), {flash, factory});
    check_image(stated, faulty, working_copy, origins, broken);

    std::vector<Settings> flash_origins;
    if (stated.flash) flash_origins.push_back(flash);
    if (!events_of(faulty, "commit").empty())
        flash_origins.insert(flash_origins.end(), origins.begin(), origins.end());
    check_image(stated, faulty, flash_image, flash_origins, broken);
}

// Output is joined into one event, and the last event before a fault may have other output after
// the fault.
bool begins_alike(const Event& expected, const Event& event, bool last) {
    if (expected.verb != event.verb || expected.text != event.text) return false;
    return expected.body == event.body || (last && event.verb == "print");
}

void check_beginning(const Played& whole, const Played& faulty, std::vector<std::string>& broken) {
    const std::vector<Event>& expected = whole.recording.transcript.events();
    const std::vector<Event>& events = faulty.recording.transcript.events();
    const size_t before = faulty.recording.events_before_fault;
    for (size_t i = 0; i < before; i++) {
        if (i < expected.size() && begins_alike(expected[i], events[i], i + 1 == before)) continue;
        broken.push_back("does something else before the fault: " + events[i].verb + " " +
                         events[i].text + events[i].body);
        return;
    }
}

void check_left_behind(const World& before, const Played& whole, const Played& faulty,
                       std::vector<std::string>& broken) {
    for (const auto& [path, content] : faulty.recording.world.files)
        if (path.starts_with("/var/run/") && !before.get(path) && !whole.recording.world.get(path))
            broken.push_back("leaves " + path);
}

// Settings that may get an unusual value after a fault.
struct StoredOtherwise {
    std::string_view key;
    Fallible because;
};
constexpr StoredOtherwise stored_otherwise[] = {
    // A server whose name cannot be resolved is stored as empty.
    {.key = "pptp_server", .because = Fallible::HostLookUp},
    {.key = "pptp_server", .because = Fallible::SettingGet},
    // A setting that cannot be read counts as not set: the port is the default one, the last DDNS
    // service and the service definitions are empty, and the board's address and PIN are assigned
    // again.
    {.key = "wan_ifname", .because = Fallible::SettingGet},
    {.key = "ddns_old_service", .because = Fallible::SettingGet},
    {.key = "fw_services_def", .because = Fallible::SettingGet},
    {.key = "assign_mac", .because = Fallible::SettingGet},
    {.key = "lan_assign_mac", .because = Fallible::SettingGet},
    {.key = "lan_assign_mac_2", .because = Fallible::SettingGet},
    {.key = "wan_macaddr_default", .because = Fallible::SettingGet},
    {.key = "wsc_device_pin", .because = Fallible::SettingGet},
};

bool may_be_stored(std::string_view key, Fallible fault) {
    for (const StoredOtherwise& known : stored_otherwise)
        if (known.key == key && known.because == fault) return true;
    return false;
}

std::set<std::string> settings_stored(const Played& played) {
    std::set<std::string> stored;
    for (const Event* event : events_of(played, "set")) stored.insert(event->text);
    return stored;
}

void check_stored(const Played& whole, const Played& faulty, std::vector<std::string>& broken) {
    const std::set<std::string> usual = settings_stored(whole);
    for (const std::string& assignment : settings_stored(faulty)) {
        const std::string key = assignment.substr(0, assignment.find('='));
        if (!usual.contains(assignment) && !may_be_stored(key, faulty.recording.faults.kind))
            broken.push_back("stores " + assignment);
    }
}

}  // namespace

Played play_case(const Case& stated, const Faults& faults) {
    Played played;
    played.recording.world = case_world(stated);
    played.recording.faults = faults;
    played.status = play(played.recording, stated.words);
    return played;
}

std::vector<std::string> violated_invariants(const Case& stated, const Played& whole,
                                             const Played& faulty) {
    std::vector<std::string> broken;
    if (faulty.status != whole.status)
        broken.push_back("ends with status " + std::to_string(faulty.status) + ", not " +
                         std::to_string(whole.status));
    check_beginning(whole, faulty, broken);
    if (faulty.recording.faults.kind != Fallible::Remove)
        check_left_behind(case_world(stated), whole, faulty, broken);
    check_stored(whole, faulty, broken);
    check_settings(stated, faulty, broken);
    return broken;
}
