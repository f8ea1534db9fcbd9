// The files that rc writes, compared with what it would write now.

#include <algorithm>
#include <map>
#include <set>

#include "plan/inspect/hidden.h"
#include "plan/inspect/inspect.h"
#include "plan/trace/influence.h"

namespace {

// What is no text of the settings alone.
constexpr std::string_view uncompared[] = {
    "/dev/",
    "/proc/",
    "/flash/",
    "/etc/default",        // the factory settings
    "/etc/resolv.conf",    // the link's script writes it
    "/tmp/gw_route",       // what route(8) printed
    "/tmp/nvram",          // the settings
    "/tmp/wan_uptime",     // a time
    "/tmp/cron_schedule",  // the schedule's state
    "/var/run/",           // markers and process ids
    "/var/udhcpd.leases",  // see below
};

constexpr const char* lease_file = "/var/udhcpd.leases";
// A record: hardware address, IP address, lease time, name.
constexpr size_t lease_record = 16 + 4 + 4 + 16;

std::vector<std::string> lines_of_text(std::string_view text) {
    std::vector<std::string> lines;
    for (const std::string_view line : body_lines(text)) lines.emplace_back(line);
    return lines;
}

bool is_same_text(std::string_view expected, std::string_view found) {
    const std::vector<std::string> wanted = lines_of_text(expected);
    return without_hidden(wanted, lines_of_text(found)) == wanted;
}

std::string few(const std::vector<std::string>& lines) {
    constexpr size_t most = 6;
    std::string text;
    for (size_t i = 0; i < std::min(lines.size(), most); i++) text += (i ? "\n" : "") + lines[i];
    if (lines.size() > most) text += "\n(" + std::to_string(lines.size() - most) + " more lines)";
    return text;
}

// The settings behind the lines of a file that a step has written.
class LineSettings {
  public:
    std::vector<std::string> of(const Step& step, const std::string& path,
                                const std::vector<std::string>& lines) {
        auto traced = traced_.find(&step);
        if (traced == traced_.end()) traced = traced_.emplace(&step, trace(step.plan)).first;
        const std::vector<Event>& events = step.plan.after.transcript.events();
        std::set<std::string> keys;
        for (size_t event = 0; event < events.size(); event++) {
            if (events[event].text != path || !events[event].has_body) continue;
            const std::vector<std::string_view> body = body_lines(events[event].body);
            for (size_t line = 0; line < body.size(); line++)
                if (std::ranges::count(lines, body[line]) > 0)
                    add(keys, traced->second.of({event, line + 1}));
        }
        return {keys.begin(), keys.end()};
    }

  private:
    std::map<const Step*, Provenance> traced_;

    static void add(std::set<std::string>& keys, const std::vector<Influence>& influences) {
        for (const Influence& influence : influences)
            if (influence.input.kind == Input::Kind::Setting) keys.insert(influence.input.name);
    }
};

bool is_compared(const std::string& path) {
    return std::ranges::none_of(
        uncompared, [&](std::string_view beginning) { return path.starts_with(beginning); });
}

// Files to which rc adds lines at each start.
std::set<std::string> growing_files(const ExpectedRouter& expected) {
    std::set<std::string> paths;
    for (const Step& step : expected.steps())
        for (const Event& event : step.plan.after.transcript.events())
            if (event.verb == "append") paths.insert(event.text);
    return paths;
}

void inspect_leases(const FoundRouter& found, const ExpectedRouter& expected, Deviations& list) {
    const auto leases = found.files.find(lease_file);
    if (leases == found.files.end()) return;
    Deviation deviation = {.kind = Deviation::Kind::File,
                           .what = lease_file,
                           .settings = {"pcdb_list"},
                           .fix = "remove " + std::string(lease_file) + ", then rc dhcpd restart"};
    const std::string* const wanted = expected.after().get(lease_file);
    if (leases->second.size() % lease_record != 0) {
        deviation.expected = "records of " + std::to_string(lease_record) + " bytes";
        deviation.found = std::to_string(leases->second.size()) + " bytes";
    } else if (wanted && *wanted != leases->second) {
        deviation.expected = "the reservations of pcdb_list";
        deviation.found = "other leases for their addresses";
        deviation.fix = "rc dhcpd restart";
    } else {
        return;
    }
    list.push_back(deviation);
}

}  // namespace

void inspect_files(const FoundRouter& found, const ExpectedRouter& expected, Deviations& list) {
    LineSettings settings;
    const std::set<std::string> growing = growing_files(expected);
    const World before = found.world();
    for (const auto& [path, content] : expected.after().files) {
        if (!is_compared(path) || growing.contains(path)) continue;
        const Step* const writer = expected.writer_of(path);
        if (!writer) continue;
        if (found.lacks_wan_address() && writer == expected.firewall()) continue;
        const std::vector<std::string> wanted = lines_of_text(*content);
        const std::string* const there = before.get(path);
        std::vector<std::string> lines;
        if (there) lines = without_hidden(wanted, lines_of_text(*there));
        if (there && lines == wanted) continue;
        const std::string* const early = expected.before_link(path);
        if (there && early && is_same_text(*early, *there)) continue;
        std::vector<std::string> missing;
        std::vector<std::string> other;
        for (const LineChange& change : compare_lines(wanted, lines)) {
            for (size_t i = change.from; i < change.to; i++) missing.push_back(wanted[i]);
            for (size_t i = change.other_from; i < change.other_to; i++) other.push_back(lines[i]);
        }
        list.push_back({.kind = Deviation::Kind::File,
                        .what = path,
                        .expected = few(missing),
                        .found = there ? few(other) : "no such file",
                        .settings = settings.of(*writer, path, missing),
                        .fix = writer->again()});
    }
    inspect_leases(found, expected, list);
}
