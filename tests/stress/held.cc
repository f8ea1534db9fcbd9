// Runs that overlap at a chosen point: the first is held in the middle of its work while a second
// runs, so that the outcome is always the same.

#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iostream>

#include "names.h"
#include "overlap.h"

namespace stress {

namespace {

// Holds the program of this name the next time it is run.
class Gate {
  public:
    explicit Gate(const std::string& program) : path_(gate_prefix + program) {
        mkfifo(path_.c_str(), 0600);
    }
    ~Gate() { let_go(); }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    // Waits until the program has been started; later starts are not held.
    void wait_until_reached() {
        held_ = open(path_.c_str(), O_WRONLY | O_CLOEXEC);
        unlink(path_.c_str());
    }
    void let_go() {
        if (held_ >= 0) close(held_);
        held_ = -1;
    }

  private:
    std::string path_;
    int held_ = -1;
};

constexpr const char* early = "5.00 5.00\n";
constexpr const char* at_ten = "10.99 10.99\n";
constexpr const char* at_eleven = "11.00 11.00\n";
constexpr const char* later = "3600.00 3600.00\n";

std::string end_of(pid_t run) {
    int status = 0;
    if (waitpid(run, &status, 0) != run) return "lost";
    if (WIFSIGNALED(status)) return std::string("signal ") + std::to_string(WTERMSIG(status));
    return "status " + std::to_string(WEXITSTATUS(status));
}

pid_t start_rc(const std::string& run, const std::vector<std::string>& words) {
    std::vector<std::string> all = {"/bin/rc"};
    all.insert(all.end(), words.begin(), words.end());
    return start({.words = all, .run = run});
}

// Whether a run executed a command line that begins with this text.
bool ran(const std::string& run, const std::string& command) {
    return ("\n" + log_text()).find("\n" + run + ": " + command) != std::string::npos;
}

class Scenario {
  public:
    explicit Scenario(const char* name) : name_(name) {}

    void expect(const char* what, const std::string& actual, const std::string& expected) {
        if (actual == expected) return;
        std::cout << name_ << ": " << what << " is '" << actual << "', not '" << expected << "'\n";
        failed_ = true;
    }
    void expect(const char* what, bool holds) {
        if (holds) return;
        std::cout << name_ << ": false: " << what << "\n";
        failed_ = true;
    }
    bool ok() const { return !failed_; }

  private:
    const char* name_;
    bool failed_ = false;
};

constexpr const char* httpd_marker = "/var/run/rc.httpd.run";
constexpr const char* marker_text = "/proc/uptime\n";

// The same application twice, the second while the first is at work.
bool same_application(const Settings& settings, const char* name, const char* uptime,
                      bool turned_away) {
    Scenario scenario(name);
    reset_router(settings, uptime);
    Gate gate("killall");
    const pid_t first = start_rc("first", {"httpd", "restart"});
    gate.wait_until_reached();
    scenario.expect("the marker", read_text(httpd_marker), marker_text);

    const pid_t second = start_rc("second", {"httpd", "restart"});
    scenario.expect("the second's end", end_of(second), "status 0");
    // A run that is turned away prints nothing else.
    scenario.expect("the second's output", output_of("second"), "ap_name=httpd action=restart\n");
    scenario.expect("the second worked", ran("second", "/usr/bin/killall") == !turned_away);
    scenario.expect("the first's marker is there", exists(httpd_marker) == turned_away);

    gate.let_go();
    scenario.expect("the first's end", end_of(first), "status 0");
    scenario.expect("no marker is left", !exists(httpd_marker));
    wait_for_all();
    scenario.expect("the first started the server", ran("first", "/usr/sbin/mini_httpd"));
    return scenario.ok();
}

bool other_application(const Settings& settings) {
    Scenario scenario("another application at the same time");
    reset_router(settings, early);
    Gate gate("killall");
    const pid_t first = start_rc("first", {"httpd", "restart"});
    gate.wait_until_reached();
    const pid_t second = start_rc("second", {"dhcpd", "restart"});
    scenario.expect("the second's end", end_of(second), "status 0");
    scenario.expect("the first's marker", read_text(httpd_marker), marker_text);
    gate.let_go();
    scenario.expect("the first's end", end_of(first), "status 0");
    wait_for_all();
    scenario.expect("the second worked", ran("second", "/usr/sbin/udhcpd"));
    return scenario.ok();
}

// A whole group has no marker, and markers of its applications do not turn it away.
bool group_beside_application(const Settings& settings) {
    Scenario scenario("a whole group beside an application");
    reset_router(settings, early);
    Gate gate("killall");
    const pid_t first = start_rc("first", {"httpd", "restart"});
    gate.wait_until_reached();
    const pid_t second = start_rc("second", {"create"});
    scenario.expect("the second's end", end_of(second), "status 0");
    scenario.expect("the second wrote", exists("/etc/udhcpd.conf"));
    scenario.expect("the first's marker", read_text(httpd_marker), marker_text);
    gate.let_go();
    scenario.expect("the first's end", end_of(first), "status 0");
    wait_for_all();
    return scenario.ok();
}

constexpr const char* service_pid = "/var/run/my_pid_service";
constexpr const char* wan_pid = "/var/run/my_pid_wan";
constexpr const char* start_pid = "/var/run/my_pid";

// A newer run for the services terminates the older one before it begins.
bool service_against_service(const Settings& settings, const char* action) {
    Scenario scenario("service against service");
    reset_router(settings, later);
    Gate gate("iptables");
    const pid_t first = start_rc("first", {"service", "restart"});
    gate.wait_until_reached();
    scenario.expect("the PID file", read_text(service_pid), std::to_string(first));

    Gate second_gate("iptables");
    const pid_t second = start_rc("second", {"service", action});
    second_gate.wait_until_reached();
    scenario.expect("the PID file of the second", read_text(service_pid), std::to_string(second));
    second_gate.let_go();
    scenario.expect("the second's end", end_of(second), "status 0");
    scenario.expect("no PID file is left", !exists(service_pid));
    gate.let_go();
    scenario.expect("the first's end", end_of(first), "signal 15");
    wait_for_all();
    return scenario.ok();
}

// The same for the Internet side. Whatever its action, the second terminates the first through one
// of the PID files.
bool wan_against_wan(const Settings& settings, const char* first_action, const char* first_held_at,
                     const char* second_action, const std::string& start_pid_left) {
    Scenario scenario("wan against wan");
    reset_router(settings, later);
    Gate gate(first_held_at);
    const pid_t first = start_rc("first", {"wan", first_action});
    gate.wait_until_reached();
    scenario.expect("the PID file", read_text(wan_pid), std::to_string(first));
    const pid_t second = start_rc("second", {"wan", second_action});
    scenario.expect("the second's end", end_of(second), "status 0");
    gate.let_go();
    scenario.expect("the first's end", end_of(first), "signal 15");
    wait_for_all();
    scenario.expect("no PID file is left", !exists(wan_pid));
    scenario.expect("what is left of the start's PID file", read_text(start_pid),
                    start_pid_left == "first" ? std::to_string(first) : "");
    return scenario.ok();
}

// A run for the services continues during a start of the Internet side that does not affect
// services, and is terminated by a stop, which stops the services itself.
bool wan_beside_service(Settings settings) {
    Scenario scenario("wan beside service");
    settings["wan_mode"] = "dhcpc";
    reset_router(settings, later);
    Gate gate("iptables");
    const pid_t first = start_rc("first", {"service", "restart"});
    gate.wait_until_reached();
    const pid_t second = start_rc("second", {"wan", "start"});
    scenario.expect("the second's end", end_of(second), "status 0");
    scenario.expect("the first's PID file", read_text(service_pid), std::to_string(first));
    const pid_t third = start_rc("third", {"wan", "stop"});
    scenario.expect("the third's end", end_of(third), "status 0");
    gate.let_go();
    scenario.expect("the first's end", end_of(first), "signal 15");
    wait_for_all();
    scenario.expect("no PID file is left", !exists(service_pid) && !exists(wan_pid));
    return scenario.ok();
}

// No marker or PID file keeps an application and the Internet side apart: both continue.
bool firewall_inside_wan(const Settings& settings) {
    Scenario scenario("a firewall restart inside a wan restart");
    reset_router(settings, later);
    start_rc("alone", {"firewall", "restart"});
    wait_for_all();
    const std::string rules = read_text("/tmp/rules");
    scenario.expect("there are rules", !rules.empty());

    reset_router(settings, later);
    Gate gate("ps");
    const pid_t first = start_rc("first", {"wan", "restart"});
    gate.wait_until_reached();
    const pid_t second = start_rc("second", {"firewall", "restart"});
    scenario.expect("the second's end", end_of(second), "status 0");
    scenario.expect("the rules are whole", read_text("/tmp/rules") == rules);
    scenario.expect("the second ran them", ran("second", "iptables -A FORWARD -j CFILTER"));
    scenario.expect("the first's PID file", read_text(wan_pid), std::to_string(first));
    gate.let_go();
    scenario.expect("the first's end", end_of(first), "status 0");
    wait_for_all();
    scenario.expect("the first dialled", ran("first", "/usr/sbin/udhcpc"));
    scenario.expect("no marker is left",
                    !exists(wan_pid) && !exists(start_pid) && !exists("/var/run/rc.firewall.run"));
    return scenario.ok();
}

}  // namespace

int play_held_runs(const Settings& settings) {
    int wrong = 0;
    const auto count = [&](bool ok) { wrong += !ok; };
    count(same_application(settings, "the same application at 5 s", early, true));
    count(same_application(settings, "the same application at 10 s", at_ten, true));
    count(same_application(settings, "the same application at 11 s", at_eleven, false));
    count(same_application(settings, "the same application later", later, false));
    count(other_application(settings));
    count(group_beside_application(settings));
    for (const char* action : {"restart", "stop", "start"})
        count(service_against_service(settings, action));
    count(wan_against_wan(settings, "restart", "ps", "restart", "nothing"));
    count(wan_against_wan(settings, "restart", "ps", "start", "nothing"));
    count(wan_against_wan(settings, "restart", "ps", "stop", "nothing"));
    count(wan_against_wan(settings, "start", "ifconfig", "restart", "nothing"));
    count(wan_against_wan(settings, "start", "ifconfig", "start", "nothing"));
    // A stop starts nothing, so it does not replace the start's PID file.
    count(wan_against_wan(settings, "start", "ifconfig", "stop", "first"));
    count(wan_beside_service(settings));
    count(firewall_inside_wan(settings));
    return wrong;
}

}  // namespace stress
