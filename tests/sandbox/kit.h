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

// What the caller names.
struct Programs {
    std::string rc;
    std::string nvram;
    std::string library;
    // What is loaded into rc before its libraries; of sealed_play's, the recorder.
    std::string preloaded;
    // Stands for every program that a shell line may call, and for the shell.
    std::string stand_in;
};

// The folder that holds the running program, with its slash.
std::string own_folder();

// Everything to be put into each root, or what is missing.
std::variant<Kit, std::string> gather_kit(const Programs& programs);

#endif
