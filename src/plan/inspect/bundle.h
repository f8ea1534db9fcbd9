// An archive that rc-bundle has written: what a router was like. It comes from elsewhere and may be
// anything, so only plain files of bounded size under the archive's own folder are taken, into
// memory.
#ifndef RC_PLAN_INSPECT_BUNDLE_H
#define RC_PLAN_INSPECT_BUNDLE_H

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <variant>

// A router has a few hundred files and a log of 64 KiB.
inline constexpr size_t longest_member = size_t{4} * 1024 * 1024;
inline constexpr size_t longest_bundle = size_t{32} * 1024 * 1024;
inline constexpr size_t most_members = 4096;

struct Bundle {
    // Contents by name, without the archive's folder: "settings", "files/tmp/rules",
    // "commands/route".
    std::map<std::string, std::string> members;
    // Seconds since 1970, by the same name; those of a copied file are the file's.
    std::map<std::string, long long> times = {};

    // Null if the archive has no such member.
    const std::string* get(const std::string& name) const;
    // The file of the router with this path, or null.
    const std::string* file(const std::string& path) const { return get("files" + path); }
    // What a command of the router printed; empty if it is not there.
    std::string_view output(const std::string& name) const;
};

// Why an archive was refused.
struct BundleError {
    std::string message;
};

// Reads a tar archive, plain or with gzip; "-" is standard input.
std::variant<Bundle, BundleError> read_bundle(const std::string& path);

// The same from an open file.
std::variant<Bundle, BundleError> read_bundle(int file);

#endif
