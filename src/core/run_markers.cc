// Keeps two runs of rc apart. Writes /var/run/rc.<name>.run and /var/run/my_pid_<group>.

#include "core/run_markers.h"

#include <limits.h>
#include <signal.h>
#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>

#include "core/command.h"
#include "core/file.h"
#include "core/platform.h"
#include "core/text.h"

namespace {

// The marker's path is part of a shell line. No application has a slash or one of the shell's
// special characters (XCU 2.2) in its name, so such a name gets no marker and does not reach the
// shell.
std::optional<std::string> marker_path(const char* name) {
    if (!name) return std::nullopt;
    for (const char c : std::string_view(name)) {
        const bool control = c == 0x7f || (c >= 0 && c < 0x20);
        if (control || contains("/|&;<>()$`\\\"' *?[]#~=%{}!^", {&c, 1})) return std::nullopt;
    }
    return format("/var/run/rc.%s.run", name);
}

}  // namespace

const char* const wan_pid_file = "/var/run/my_pid_wan";

int rc_add_running(const char* name) {
    const std::optional<std::string> marker = marker_path(name);
    if (!marker) return 0;

    if (!platform::file_exists(marker->c_str())) {
        // The marker contains this literal text, not the uptime: a marker's age always counts from
        // the start of the kernel.
        SYSTEM("echo /proc/uptime >%s", marker->c_str());
        return 0;
    }

    File uptime = open_file("/proc/uptime", "r");
    if (!uptime) return 0;
    const auto now = static_cast<uint32_t>(uptime.read_number().value_or(0));
    File marked = open_file(marker->c_str(), "r");
    if (!marked) return 0;
    const auto then = static_cast<uint32_t>(marked.read_number().value_or(0));
    return then + 10 < now ? 0 : 1;
}

int rc_remove_marker(const char* name) {
    const std::optional<std::string> marker = marker_path(name);
    if (marker) platform::remove_file(marker->c_str());
    return 0;
}

void replace_older_run(const char* pid_file) {
    if (File older = open_file(pid_file, "r")) {
        // 0 and below would signal whole process groups, 1 is init.
        const long long pid = older.read_number().value_or(-1);
        if (pid > 1 && pid <= INT_MAX && pid != platform::own_pid())
            platform::send_signal(static_cast<int>(pid), SIGTERM);
    }
    if (File mine = open_file(pid_file, "w")) mine.print("%d", platform::own_pid());
}
