// The programs that a sealed root needs, read once before anything is sealed.
#ifndef RC_TESTS_SANDBOX_KIT_H
#define RC_TESTS_SANDBOX_KIT_H

#include <string>
#include <variant>
#include <vector>

// Where the loader finds them in the sealed root.
inline constexpr const char* library_folder = "/.sealed/lib";
inline constexpr const char* recorder_library = "/.sealed/librecord.so";

struct KitFile {
    std::string content;
    std::vector<std::string> paths;  // in the sealed root: one file under all these names
};

using Kit = std::vector<KitFile>;

// What the caller names; the recorder and the recording shell stand beside sealed_play itself.
struct Programs {
    std::string rc;
    std::string nvram;
    std::string library;
};

// Everything to be put into each root, or what is missing.
std::variant<Kit, std::string> gather_kit(const Programs& programs);

#endif
