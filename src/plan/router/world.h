// The router of a plan or a case: everything that rc can read from it and change in it.
#ifndef RC_PLAN_ROUTER_WORLD_H
#define RC_PLAN_ROUTER_WORLD_H

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

inline constexpr const char* working_copy = "/tmp/nvram";
inline constexpr const char* factory_image = "/etc/default";
inline constexpr const char* flash_image = "/flash/nvram";

struct World {
    // Contents by path. Settings are here too: the working copy, the factory image and flash's
    // generation are text images. Shared, so that an open file outlives its removal.
    std::map<std::string, std::shared_ptr<std::string>> files;
    // Paths that cannot be opened in a mode; also shell lines that cannot be started ("pipe") and
    // interfaces for which no socket can be opened ("socket").
    std::set<std::pair<std::string, std::string>> denied;
    // The output of a shell line that is read through a pipe.
    std::map<std::string, std::string> outputs;
    std::map<std::string, std::string> environment = {{"PATH", "/bin:/sbin:/usr/sbin:/usr/bin"}};
    struct Interface {
        std::optional<std::string> address;  // dotted quad
        std::array<unsigned char, 6> mac = {};
        int mtu = 1500;
    };
    std::map<std::string, Interface> interfaces;
    // Addresses by host name.
    std::map<std::string, std::string> hosts;
    long long uptime_microseconds = 3600'000'000;
    // Settings that another program saves while the run waits for a command: each once, after the
    // first shell line with this text.
    struct Change {
        std::string after;
        std::string key;
        std::string value;
    };
    std::vector<Change> changes;
    // Since 1970 in UTC: 2024-01-01 00:00:00.
    long long clock_microseconds = 1'704'067'200'000'000;
    int pid = 1000;

    void put(const std::string& path, std::string content) {
        files[path] = std::make_shared<std::string>(std::move(content));
    }
    const std::string* get(const std::string& path) const {
        const auto found = files.find(path);
        return found == files.end() ? nullptr : found->second.get();
    }
};

#endif
