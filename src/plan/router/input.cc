// Inputs of rc, their answers, and similar answers.

#include "plan/router/input.h"

#include <ctype.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>

#include "core/text.h"
#include "plan/router/recording.h"
#include "plan/router/settings.h"

namespace {

// If a value has more tokens, they are changed only all at once.
constexpr size_t most_tokens = 64;
// Longer answers are truncated.
constexpr size_t shown_answer = 60;

bool is_digit(char c) {
    return isdigit(static_cast<unsigned char>(c)) != 0;
}

bool is_letter(char c) {
    return isalpha(static_cast<unsigned char>(c)) != 0;
}

// A number minus one, so that octets, ports and minutes stay in range; a word with another last
// letter. The length stays the same where possible.
std::string neighbour_of(const std::string& token) {
    if (!is_digit(token[0])) {
        std::string other = token;
        char& last = other.back();
        last = static_cast<char>(last == 'z' || last == 'Z' ? last - 1 : last + 1);
        return other;
    }
    if (token.size() > 18) return token.substr(1);
    const long long number = atoll(token.c_str());
    std::string other = std::to_string(number == 0 ? 1 : number - 1);
    if (other.size() < token.size()) other.insert(0, token.size() - other.size(), '0');
    return other;
}

template <class Map>
std::optional<std::string> look_up(const Map& map, const std::string& name) {
    const auto found = map.find(name);
    if (found == map.end()) return std::nullopt;
    return found->second;
}

std::optional<std::string> interface_answer(const World& world, const Input& input) {
    const auto found = world.interfaces.find(input.name);
    if (found == world.interfaces.end()) return std::nullopt;
    const World::Interface& interface = found->second;
    if (input.kind == Input::Kind::Address) return interface.address;
    if (input.kind == Input::Kind::Mtu) return std::to_string(interface.mtu);
    const auto& mac = interface.mac;
    return format("%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

std::string clock_text(long long microseconds) {
    const auto seconds = static_cast<time_t>(microseconds / 1'000'000);
    tm utc = {};
    gmtime_r(&seconds, &utc);
    char text[64];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &utc);
    return text;
}

std::string shown(const std::string& answer) {
    std::string line = escape_line(answer);
    if (line.size() > shown_answer) line.replace(shown_answer, line.npos, "...");
    return line;
}

}  // namespace

std::optional<long long> read_clock(const std::string& text) {
    tm utc = {};
    const char* const end = strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &utc);
    if (!end || *end) return std::nullopt;
    return timegm(&utc) * 1'000'000LL;
}

const char* kind_name(Input::Kind kind) {
    switch (kind) {
        case Input::Kind::Setting:
            return "setting";
        case Input::Kind::Flash:
            return "flash";
        case Input::Kind::Address:
            return "address";
        case Input::Kind::Mac:
            return "mac";
        case Input::Kind::Mtu:
            return "mtu";
        case Input::Kind::Output:
            return "output";
        case Input::Kind::File:
            return "file";
        case Input::Kind::Host:
            return "host";
        case Input::Kind::Clock:
            return "clock";
        case Input::Kind::Uptime:
            return "uptime";
        case Input::Kind::Pid:
            return "pid";
    }
    return "";
}

std::optional<std::string> value_of_input(const World& world, const Input& input) {
    switch (input.kind) {
        case Input::Kind::Setting:
            return setting_in(image_in_force(world), input.name);
        case Input::Kind::Flash:
            return world.get(flash_image) ? std::optional("written") : std::nullopt;
        case Input::Kind::Address:
        case Input::Kind::Mac:
        case Input::Kind::Mtu:
            return interface_answer(world, input);
        case Input::Kind::Output:
            return look_up(world.outputs, input.name);
        case Input::Kind::File:
            return file_content(world, input.name);
        case Input::Kind::Host:
            return look_up(world.hosts, input.name);
        case Input::Kind::Clock:
            return clock_text(world.clock_microseconds);
        case Input::Kind::Uptime:
            return std::to_string(world.uptime_microseconds / 1'000'000);
        case Input::Kind::Pid:
            return std::to_string(world.pid);
    }
    return std::nullopt;
}

std::string statement(const Input& input, const std::optional<std::string>& answer) {
    const std::string name = escape_line(input.name);
    const std::string value = shown(answer.value_or(""));
    switch (input.kind) {
        case Input::Kind::Setting:
            return answer ? name + "=" + value : name + " is not set";
        case Input::Kind::Flash:
            return answer ? "there are settings in flash" : "flash was never written";
        case Input::Kind::Address:
            return name + (answer ? " has the address " + value : " has no address");
        case Input::Kind::Mac:
            return answer ? name + " has the MAC address " + value
                          : "there is no interface " + name;
        case Input::Kind::Mtu:
            return answer ? name + " has the MTU " + value : "there is no interface " + name;
        case Input::Kind::Output:
            return shown(input.name) + (value.empty() ? " prints nothing" : " prints " + value);
        case Input::Kind::File:
            if (!answer) return "there is no file " + name;
            return "file " + name + (value.empty() ? " is empty" : " holds " + value);
        case Input::Kind::Host:
            return name + (answer ? " is looked up as " + value : " is not found by name");
        case Input::Kind::Clock:
            return "the clock says " + value + " UTC";
        case Input::Kind::Uptime:
            return "the router has run for " + value + " s";
        case Input::Kind::Pid:
            return "the process is " + value;
    }
    return "";
}

std::string_view image_in_force(const World& world) {
    for (const char* path : {working_copy, flash_image, factory_image})
        if (const std::string* image = world.get(path)) return *image;
    return {};
}

void change_settings(World& world, const SettingChanges& changes) {
    // They are often the same text, and changing one takes as long as a run of rc.
    std::string before;
    std::string changed;
    for (const char* path : {working_copy, flash_image, factory_image}) {
        const std::string* const image = world.get(path);
        if (image == nullptr) continue;
        if (changed.empty() || *image != before) {
            before = *image;
            changed = changed_image(before, changes);
        }
        world.put(path, changed);
    }
}

void change_setting(World& world, const std::string& key, const std::optional<std::string>& value) {
    change_settings(world, {{key, value}});
}

std::vector<std::pair<size_t, size_t>> tokens_of(const std::string& value) {
    std::vector<std::pair<size_t, size_t>> tokens;
    for (size_t at = 0; at < value.size();) {
        const auto same = is_digit(value[at]) ? is_digit : is_letter;
        size_t end = at;
        while (end < value.size() && same(value[end])) end++;
        if (end > at) tokens.emplace_back(at, end - at);
        at = std::max(end, at + 1);
    }
    return tokens;
}

std::vector<std::string> neighbours(const std::string& value) {
    const auto tokens = tokens_of(value);
    std::vector<std::string> others;
    std::string all = value;
    for (const auto& [at, size] : tokens) {
        const std::string other = neighbour_of(value.substr(at, size));
        if (other.size() == size) all.replace(at, size, other);
        if (tokens.size() <= most_tokens)
            others.push_back(value.substr(0, at) + other + value.substr(at + size));
    }
    if (tokens.size() > 1) others.push_back(all);
    return others;
}
