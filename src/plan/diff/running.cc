// Boots a router over the recording platform.

#include "plan/diff/running.h"

#include "core/wan_modes.h"
#include "plan/router/plan.h"

namespace {

constexpr const char* leased_address = "192.0.2.7";

std::string value_of(const Settings& settings, const std::string& key) {
    const auto found = settings.find(key);
    return found == settings.end() ? "" : found->second;
}

// Each server name resolves to a different address, so that another name makes a difference.
std::string address_for(const std::string& name) {
    unsigned sum = 0;
    for (const char c : name) sum = sum * 31 + static_cast<unsigned char>(c);
    return "198.51." + std::to_string(100 + sum / 254 % 100) + "." + std::to_string(1 + sum % 254);
}

// The port's address: the fixed one if the mode has one, else one leased from the provider.
std::string port_address(const Settings& settings) {
    const std::string mode = value_of(settings, "wan_mode");
    std::string own;
    if (mode == wan_mode::ip) own = value_of(settings, "fix_ipaddr");
    if (mode == wan_mode::pptp && value_of(settings, "pptp_type") == "1")
        own = value_of(settings, "pptp_ipaddr");
    if (mode == wan_mode::l2tp && value_of(settings, "l2tp_type") == "1")
        own = value_of(settings, "l2tp_ipaddr");
    return own.empty() ? leased_address : own;
}

}  // namespace

World world_in_use(const Settings& settings) {
    World world;
    for (const char* marker : {"/tmp/wan_uptime", "/tmp/wan_uptime1"})
        world.put(marker, "60.00 60.00\n");
    world.put("/etc/resolv.conf", "nameserver 192.0.2.53\n");
    std::string port = value_of(settings, "wan_phy_ifname");
    if (port.empty()) port = "eth2.2";
    for (const std::string& name : {std::string("ppp0"), value_of(settings, "wan_ifname"), port})
        world.interfaces[name].address = name == port ? port_address(settings) : leased_address;
    world.outputs["/bin/ps -ax"] = "bpalogin\nl2tpd\npppd\npptp\nras\nudhcpc\n";
    world.outputs["/sbin/route -n"] = "0.0.0.0 192.0.2.1 0.0.0.0 UG 0 0 0 " + port + "\n";
    const std::string server = value_of(settings, "pptp_server_domain");
    if (!server.empty()) world.hosts[server] = address_for(server);
    return world;
}

Run run_on(const World& router, const std::vector<std::string>& words) {
    Recording played;
    played.world = copy_of(router);
    play(played, words);
    Run run = {.transcript = std::move(played.transcript), .settings_read = {}, .after = {}};
    for (const Input& input : played.inputs)
        if (input.kind == Input::Kind::Setting) run.settings_read.insert(input.name);
    run.after = std::move(played.world);
    run.after.uptime_microseconds = router.uptime_microseconds;
    run.after.clock_microseconds = router.clock_microseconds;
    run.after.environment = router.environment;
    return run;
}

Boot boot(const World& world, const Settings& settings) {
    Boot booted;
    booted.router = router_with(world, settings, {"rc", "init"});
    const std::vector<std::vector<std::string>> steps = {
        {"rc", "init"}, {"rc", "start"}, {"rc", "wan", "start"}, {"rc", "service", "start"}};
    for (const std::vector<std::string>& words : steps) {
        Run run = run_on(booted.router, words);
        if (words[1] == "init") booted.init = std::move(run.transcript);
        booted.settings_read.merge(run.settings_read);
        booted.router = std::move(run.after);
    }
    return booted;
}
