// The inputs of a run of rc: settings, and facts of the router.
#ifndef RC_PLAN_ROUTER_INPUT_H
#define RC_PLAN_ROUTER_INPUT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plan/router/settings.h"
#include "plan/router/world.h"

struct Input {
    enum class Kind {
        Setting,
        Flash,  // whether flash holds settings
        Address,
        Mac,
        Mtu,
        Output,  // a program's output
        File,    // whether a file exists, and its content
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

// "setting", "address", ...: one word, for JSON.
const char* kind_name(Input::Kind kind);

// The answer that a world gives; nullopt if the input does not exist there. Addresses are in
// dotted-quad form, the clock is YYYY-MM-DD HH:MM:SS, the uptime is in seconds.
std::optional<std::string> value_of_input(const World& world, const Input& input);

// "YYYY-MM-DD HH:MM:SS" in UTC as microseconds since 1970; nullopt if it has another form.
std::optional<long long> read_clock(const std::string& text);

// The input and its answer as one line of printable ASCII (escape_line): "lan_if=br0",
// "br0 has the address 192.168.1.1", "there is no file /tmp/ras_ip".
std::string statement(const Input& input, const std::optional<std::string>& answer);

// The working copy or, if that does not exist, flash's image or the factory's; empty if there is
// none. It lives until the world changes.
std::string_view image_in_force(const World& world);

// Changes or removes settings in every image of the world.
void change_settings(World& world, const SettingChanges& changes);
void change_setting(World& world, const std::string& key, const std::optional<std::string>& value);

// The numbers and words of a value: offset and size of each.
std::vector<std::pair<size_t, size_t>> tokens_of(const std::string& value);

// Similar values: each number and each word changed to its neighbour, one at a time and all at
// once.
std::vector<std::string> neighbours(const std::string& value);

#endif
