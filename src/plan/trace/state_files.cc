// The files through which runs of rc speak to each other, to daemons and to the kernel.

#include "plan/trace/state_files.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "core/text.h"
#include "plan/router/shell_effects.h"

namespace {

// Paths with the name of an application or an interface, or the number of a connection.
struct Pattern {
    std::string_view beginning;
    std::string_view end;
};
constexpr Pattern patterns[] = {
    {.beginning = "/var/run/rc.", .end = ".run"},
    {.beginning = "/proc/sys/net/ipv4/conf/", .end = "/force_igmp_version"},
    {.beginning = "/tmp/wan_uptime", .end = ""},
};

constexpr std::string_view in_paths =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-";

bool begins_with_one_of(std::string_view path, std::initializer_list<std::string_view> folders) {
    return std::ranges::any_of(folders,
                               [&](std::string_view folder) { return path.starts_with(folder); });
}

void add(std::string_view path, std::set<std::string>& found) {
    for (const Pattern& pattern : patterns)
        if (path.starts_with(pattern.beginning) && path.ends_with(pattern.end)) {
            found.insert(std::string(pattern.beginning) + "*" + std::string(pattern.end));
            return;
        }
    const bool plain = path.find_first_not_of(in_paths) == std::string_view::npos;
    if (plain && path != working_copy && path != factory_image &&
        begins_with_one_of(path, {"/tmp/", "/var/", "/etc/", "/proc/"}))
        found.insert(std::string(path));
}

// Adds the paths in a shell line that are below /tmp or /var, which are empty at boot.
void add_named(std::string_view line, std::set<std::string>& found) {
    for (size_t at = line.find('/'); at != std::string_view::npos; at = line.find('/', at)) {
        const size_t end = std::min(line.find_first_not_of(in_paths, at), line.size());
        const std::string_view path = line.substr(at, end - at);
        const bool is_word = (at == 0 || contains(" >='\"", line.substr(at - 1, 1))) &&
                             (end == line.size() || contains(" ;&|<>'\"", line.substr(end, 1)));
        if (is_word && !path.ends_with('/') && begins_with_one_of(path, {"/tmp/", "/var/"}))
            add(path, found);
        at = end;
    }
}

}  // namespace

std::set<std::string> state_files(const Plan& plan) {
    std::set<std::string> found;
    for (const std::string& path : produced_files(plan)) add(path, found);
    for (const Input& input : plan.after.inputs)
        if (input.kind == Input::Kind::File) add(input.name, found);
    for (const Event& event : plan.after.transcript.events()) {
        if (event.verb == "run") {
            add_named(event.text, found);
            for (const FileEffect& effect : file_effects(plan.before, event.text))
                add(effect.path, found);
        } else if (event.verb == "write" || event.verb == "append" || event.verb == "remove") {
            add(event.text, found);
        }
    }
    return found;
}
