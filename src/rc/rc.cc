// The command line: rc init, rc wan, rc service, rc <name> <action>.

#include "rc/rc.h"

#include <string_view>

#include "core/command.h"
#include "core/platform.h"
#include "core/run_markers.h"
#include "core/run_state.h"
#include "rc/actions.h"
#include "rc/boot.h"
#include "wan/wan.h"

namespace {

constexpr const char* service_pid_file = "/var/run/my_pid_service";

// rc may be called through another program (busybox rc ...): the command word is the one after the
// first argument that contains "rc". argc if no argument does.
int command_word(int argc, char** argv) {
    int word = 1;
    while (word < argc && std::string_view(argv[word - 1]).find("rc") == std::string_view::npos)
        word++;
    return word;
}

bool is_action(std::string_view word) {
    for (const char* action : app_action::all)
        if (word == action) return true;
    return false;
}

// words[1] is the action.
int run_wan(char** words) {
    if (!words[1]) return -1;
    replace_older_run(wan_pid_file);

    const std::string_view action = words[1];
    if (action == app_action::start) return start_wan(1);
    if (action == app_action::stop) return stop_wan();
    if (action == app_action::restart) {
        const int stopped = stop_wan();
        return stopped & start_wan(0);
    }
    return rc_usage();
}

// The action on an application, or on the whole list if name is null. A name that is not in the
// list is looked up among the services.
int run_application(const rc_app* list, const char* name, const char* action) {
    print("ap_name=%s action=%s\n", name ? name : "(null)", action);
    int result = rc_action(list, name, action);
    if (result == 1) {
        result = rc_action(rc_services, name, action);
        if (result == 1) print_line("can't find this application");
    }
    return result;
}

int run_group(char** words) {
    if (words[1]) return rc_usage();
    run_application(rc_apps, nullptr, words[0]);
    return 0;
}

int run_services(char** words) {
    replace_older_run(service_pid_file);
    if (!words[1] || words[2]) return rc_usage();

    // Printing the usage ends the run at once, so the PID file stays.
    if (run_application(rc_services, nullptr, words[1]) == usage_printed) return 0;
    platform::remove_file(service_pid_file);
    return 0;
}

int run_named(char** words) {
    if (!words[0] || !words[1] || words[2]) return rc_usage();
    run_application(rc_apps, words[0], words[1]);
    return 0;
}

}  // namespace

int rc_usage() {
    print_line("\nUsage: rc [wan|service|ap name] [start|stop|restart|create]\n");
    return 0;
}

int rc_main(int argc, char** argv) {
    if (argc <= 1) return rc_usage();
    const FreshRunState state;

    char** words = argv + command_word(argc, argv);
    platform::set_environment("PATH", "/bin:/sbin:/usr/sbin:/usr/bin");

    if (std::string_view(argv[1]) == "init") {
        rc_init();
        return 0;
    }
    if (!platform::file_exists("/tmp/nvram") && rc_init() < 0) {
        print_line("nvram error!!\n");
        return 1;
    }

    const std::string_view word = words[0] ? words[0] : "";
    if (word == "wan") return run_wan(words);
    if (is_action(word)) return run_group(words);
    if (word == "service") return run_services(words);
    return run_named(words);
}
