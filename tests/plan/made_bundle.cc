// Follows the commands of a start as the router's programs would, and prints what they left.

#include "made_bundle.h"

#include <algorithm>

#include "core/text.h"
#include "plan/inspect/expected.h"
#include "plan/netfilter/packet_values.h"

namespace {

constexpr const char* about = "format 1\ndate 1800000000\nuptime 86400.00 80000.00\n";

// Programs that stay when they are started.
constexpr std::string_view staying[] = {
    "IGMPProxy", "bpalogin",    "bpamonitor", "l2tpd",      "mini_httpd", "ntp",
    "pppd",      "pppoe-relay", "ras",        "rasmonitor", "routed",     "rt2860apd",
    "syslogd",   "udhcpc",      "udhcpd",     "upnpd",      "wscd"};

struct Interface {
    bool up = true;
    std::string address = {};
    std::string mask = "255.255.255.0";
    std::string mtu = "1500";
};

std::string mode_of(const Settings& settings) {
    const auto mode = settings.find("wan_mode");
    return mode == settings.end() ? "" : mode->second;
}

// Before rc has done anything but the link is up: only the provider gives these addresses.
std::map<std::string, Interface> first_interfaces(const Settings& settings) {
    std::map<std::string, Interface> all;
    for (const char* const name : {"br0", "eth2", "eth2.1", "eth2.2", "lo", "ra0", "ra1"})
        all[name];
    const std::string mode = mode_of(settings);
    if (mode == "ip")
        all["eth2.2"].address = "0.0.0.0";
    else
        all["eth2.2"].address = "203.0.113.20";
    if (mode == "pppoe" || mode == "pptp" || mode == "l2tp")
        all["ppp0"] = {.address = "198.51.100.7", .mask = "255.255.255.255", .mtu = "1492"};
    return all;
}

// The router as its commands make it.
class Router {
  public:
    explicit Router(const Settings& settings) : interfaces_(first_interfaces(settings)) {}
    void run(std::vector<std::string> words);
    void put_into(Bundle& bundle) const;

  private:
    std::map<std::string, Interface> interfaces_;
    std::map<std::string, std::string> bridge_of_;
    std::vector<std::string> processes_;
    std::vector<std::string> routes_ = {
        "0.0.0.0         203.0.113.1     0.0.0.0         UG    0      0        0 eth2.2"};

    void ifconfig(const std::vector<std::string>& words);
    void route(const std::vector<std::string>& words);
    void killall(const std::vector<std::string>& words);
};

void Router::ifconfig(const std::vector<std::string>& words) {
    if (words.size() < 3) return;
    Interface& interface = interfaces_[words[1]];
    for (size_t i = 2; i < words.size(); i++) {
        if (words[i] == "up") interface.up = true;
        if (words[i] == "down") interface.up = false;
        if (words[i] == "netmask") interface.mask = words[i + 1];
        if (words[i] == "mtu") interface.mtu = words[i + 1];
        if (i > 2 || !read_address(words[i])) continue;
        interface.up = true;
        if (words[i] != "0.0.0.0") interface.address = words[i];
    }
}

// As route -n prints it.
void Router::route(const std::vector<std::string>& words) {
    std::string destination;
    std::string gateway = "0.0.0.0";
    std::string mask = "255.255.255.255";
    std::string interface = "br0";
    for (size_t i = 2; i < words.size(); i++) {
        const bool is_name = words[i] == "netmask" || words[i] == "gw" || words[i] == "metric" ||
                             words[i] == "dev" || words[i] == "gateway";
        if (is_name && i + 1 == words.size()) return;
        if (words[i] == "netmask") mask = words[i + 1];
        if (words[i].starts_with("g")) gateway = words[i + 1];
        if (words[i] == "default") destination = mask = "0.0.0.0";
        if (is_name && words[i] != "dev") i++;
        if (i < words.size() && read_address(words[i]) && destination.empty())
            destination = words[i];
        if (interfaces_.contains(words[i])) interface = words[i];
    }
    if (destination.empty()) return;
    std::erase_if(routes_, [&](const std::string& line) {
        return line.starts_with(destination + " ") && contains(line, " " + mask + " ");
    });
    if (words[1] == "add")
        routes_.push_back(destination + " " + gateway + " " + mask + " U 0 0 0 " + interface);
}

void Router::killall(const std::vector<std::string>& words) {
    for (const std::string& name : words)
        if (!contains(words[1], "USR") && !contains(words[1], "HUP"))
            std::erase_if(processes_, [&](const std::string& line) {
                return is_program(line.substr(0, line.find(' ')), name);
            });
}

void Router::run(std::vector<std::string> words) {
    if (!words.empty() && words.back() == "&") words.pop_back();
    if (words.size() < 1) return;
    if (is_program(words[0], "ifconfig")) ifconfig(words);
    if (is_program(words[0], "route") && words.size() > 2) route(words);
    if (is_program(words[0], "killall") && words.size() > 1) killall(words);
    if (is_program(words[0], "brctl") && words.size() == 4) {
        if (words[1] == "addif") bridge_of_[words[3]] = words[2];
        if (words[1] == "delif") bridge_of_.erase(words[3]);
    }
    const bool stays = std::ranges::any_of(
        staying, [&](std::string_view name) { return is_program(words[0], name); });
    if (!stays) return;
    std::string line;
    for (const std::string& word : words) line += (line.empty() ? "" : " ") + word;
    processes_.push_back(line);
}

void Router::put_into(Bundle& bundle) const {
    std::string ps = "  PID  Uid     VmSize Stat Command\n    1 root        356 S   init\n";
    for (size_t i = 0; i < processes_.size(); i++)
        ps += format("%5zu root        248 S   %s\n", 100 + i, processes_[i].c_str());
    bundle.members["commands/ps"] = ps;
    std::string ifconfig;
    for (const auto& [name, interface] : interfaces_) {
        ifconfig += name + "       Link encap:Ethernet  HWaddr 02:00:00:00:0A:01\n";
        if (!interface.address.empty())
            ifconfig += "          inet addr:" + interface.address +
                        "  Bcast:255.255.255.255  Mask:" + interface.mask + "\n";
        ifconfig += std::string("          ") + (interface.up ? "UP " : "") +
                    "BROADCAST MULTICAST  MTU:" + interface.mtu + "  Metric:1\n\n";
    }
    bundle.members["commands/ifconfig"] = ifconfig;
    std::string route =
        "Kernel IP routing table\n"
        "Destination     Gateway         Genmask         Flags Metric Ref    Use Iface\n";
    for (const std::string& line : routes_) route += line + "\n";
    bundle.members["commands/route"] = route;
    std::string brctl =
        "bridge name\tbridge id\t\tSTP enabled\tinterfaces\nbr0\t\t8000.02\tno\t\t\n";
    for (const auto& [name, bridge] : bridge_of_) brctl += "\t\t\t\t\t\t\t" + name + "\n";
    bundle.members["commands/brctl"] = brctl;
}

// As iptables-save prints a word.
std::string saved_word(const std::string& word) {
    std::string text = "\"";
    for (const char c : word) {
        if (c == '"' || c == '\\') text += '\\';
        text += c;
    }
    return text + "\"";
}

std::string saved_tables(const Netfilter& tables) {
    std::string text;
    for (const char* const table : {"filter", "nat", "mangle"}) {
        text += std::string("*") + table + "\n";
        for (const Chain& chain : tables.chains)
            if (chain.table == table)
                text += ":" + chain.name + " " + chain.policy.value_or("-") + " [0:0]\n";
        for (const Chain& chain : tables.chains)
            for (const Rule& rule : chain.rules) {
                if (chain.table != table) continue;
                text += "[1:60] -A " + chain.name;
                for (const std::string& word : rule.rule_words) text += " " + saved_word(word);
                text += "\n";
            }
        text += "COMMIT\n";
    }
    return text;
}

bool is_in_an_archive(const std::string& path) {
    return !path.starts_with("/dev/") && !path.starts_with("/proc/") &&
           !path.starts_with("/flash/") && path != working_copy && path != factory_image;
}

}  // namespace

Bundle made_bundle(const Settings& settings) {
    Bundle bundle;
    bundle.members = {{"about", about},
                      {"settings", settings_image(settings)},
                      {"files/tmp/wan_uptime", "40.00 30.00\n"},
                      {"files/etc/resolv.conf", "nameserver 203.0.113.1\n"}};
    Router before(settings);
    // The DHCP client has the lease that the tunnel needs.
    if (mode_of(settings) == "pptp" || mode_of(settings) == "l2tp")
        before.run({"/usr/sbin/udhcpc", "-i", "eth2.2"});
    before.put_into(bundle);

    const ExpectedRouter started(found_router(bundle));
    Router router(settings);
    for (const StepCommand& command : started.commands()) router.run(command.words());
    router.put_into(bundle);
    bundle.members["commands/iptables-save"] = saved_tables(started.rules());
    for (const auto& [path, content] : started.after().files)
        if (is_in_an_archive(path)) bundle.members["files" + path] = *content;
    bundle.members["settings"] = *started.after().get(working_copy);
    return bundle;
}
