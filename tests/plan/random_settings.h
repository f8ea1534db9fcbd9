// Routers for tests of what is open: with chosen settings, and with settings drawn at random.
#ifndef RC_TESTS_PLAN_RANDOM_SETTINGS_H
#define RC_TESTS_PLAN_RANDOM_SETTINGS_H

#include <random>
#include <string>
#include <vector>

#include "plan/router/plan.h"
#include "plan/router/settings.h"

inline constexpr const char* wan_address = "203.0.113.7";

// The router after "rc firewall start", with that address and the content of /etc/resolv.conf.
inline Plan plan_of(const Settings& settings, const std::string& resolver = {}) {
    const std::vector<std::string> words = {"rc", "firewall", "start"};
    World world;
    world.interfaces["eth2.2"].address = wan_address;
    if (!resolver.empty()) world.put("/etc/resolv.conf", resolver);
    return make_plan(router_with(world, settings, words), words);
}

// Settings of the firewall drawn at random, with few ports and hosts, so that entries collide. They
// are changes to the factory settings.
class RandomSettings {
  public:
    explicit RandomSettings(unsigned seed) : random_(seed) {}

    Settings draw() {
        Settings changes = {{"fw_in_rules", entries(3, [&] { return forward("tcp", "udp"); })},
                            {"fw_out_rules", entries(3, [&] { return forward("tcp", "both"); })},
                            {"access_group", entries(2, [&] { return mac(); })},
                            {"fw_block_keyword", entries(3, [&] { return word(); })},
                            {"fw_services", "GAME:udp:" + port() + "-8002"},
                            {"access_control", "0000GAME"},
                            {"fw_remote_type", one_of({"1", "2", "3"})},
                            {"fw_remote_single", "198.51.100.9"},
                            {"fw_remote_range_start", "198.51.100.8"},
                            {"fw_remote_range_end", "198.51.100.11"},
                            {"fw_remote_port", port()},
                            {"fw_dmz", "192.168.1." + host()},
                            {"fw_block_trust", "192.168.1." + host()},
                            {"fw_block", one_of({"0", "1"})},
                            {"ac_control", one_of({"0", "1", "2"})}};
        for (const char* key : {"fw_dmz_enable", "fw_remote", "fw_response_ping", "fw_trustenable",
                                "fw_block_trust_enable", "log_outgoing", "log_access", "fw_nat"})
            changes[key] = one_of({"0", "1"});
        return changes;
    }

    unsigned number(unsigned least, unsigned most) {
        return std::uniform_int_distribution<unsigned>(least, most)(random_);
    }
    std::string one_of(const std::vector<std::string>& list) {
        return list[number(0, static_cast<unsigned>(list.size()) - 1)];
    }
    std::string mac() { return "02:00:00:00:00:3" + std::to_string(number(1, 3)); }
    std::string word() { return one_of({"casino", "sin", "lottery"}); }

  private:
    std::mt19937 random_;

    std::string port() { return std::to_string(number(7999, 8003)); }
    std::string host() { return std::to_string(number(8, 11)); }
    std::string forward(const char* one, const char* other) {
        return "x:1:x:" + port() + ":" + std::to_string(number(8003, 8005)) + ":" +
               one_of({one, other}) + ":" + host();
    }
    template <typename Make>
    std::string entries(unsigned most, Make make) {
        std::string list;
        for (unsigned i = number(0, most); i > 0; i--)
            list += (list.empty() ? "" : "\x01") + make();
        return list;
    }
};

#endif
