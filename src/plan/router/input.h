// What rc learns from its environment during a run: settings, and facts of the router.
#ifndef RC_PLAN_ROUTER_INPUT_H
#define RC_PLAN_ROUTER_INPUT_H

#include <optional>
#include <string>
#include <vector>

#include "plan/router/world.h"

struct Input {
    enum class Kind {
        Setting,
        Flash,  // whether there are settings in flash
        Address,
        Mac,
        Mtu,
        Output,  // what a program prints
        File,    // whether it is there, and what it holds
        Host,
        Clock,
        Uptime,
        Pid,
    };
    Kind kind;
    // A key, an interface, a command line, a path or a host; empty for flash and the last three.
    std::string name;

    // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 takes the comparison's 0 for a pointer.
    friend auto operator<=>(const Input&, const Input&) = default;
};

// "setting", "address", ...: one word, for programs.
const char* kind_name(Input::Kind kind);

// The answer that a world holds; nothing when there is no such thing. Addresses and the clock as
// people write them, the uptime in seconds.
std::optional<std::string> value_of_input(const World& world, const Input& input);

// The input and its answer for people: "lan_if=br0", "br0 has the address 192.168.1.1",
// "there is no file /tmp/ras_ip".
std::string statement(const Input& input, const std::optional<std::string>& answer);

// Gives a setting another value, or removes it, wherever the world keeps settings.
void change_setting(World& world, const std::string& key, const std::optional<std::string>& value);

// Where the numbers and words of a value stand: offset and size.
std::vector<std::pair<size_t, size_t>> tokens_of(const std::string& value);

// Other values for a text: each number and each word of it changed to its neighbour, one at a time
// and all at once.
std::vector<std::string> neighbours(const std::string& value);

#endif
