// The programs that a sealed root needs, read once before anything is sealed.
#ifndef RC_TESTS_SANDBOX_KIT_H
#define RC_TESTS_SANDBOX_KIT_H

#include <string>
#include <variant>
#include <vector>

// The folder of the libraries in the sealed root.
inline constexpr const char* library_folder = "/.sealed/lib";
inline constexpr const char* recorder_library = "/.sealed/librecord.so";

struct KitFile {
    std::string content;
    std::vector<std::string> paths;  // in the sealed root: one file under all these names
};

using Kit = std::vector<KitFile>;

// The programs given by the caller.
struct Programs {
    std::string rc;
    std::string nvram;
    std::string library;
    // Loaded into rc before its libraries; for sealed_play, the recorder.
    std::string preloaded;
    // Its folders contain the loader that rc names, which is its C library too: musl's. Empty for
    // this machine's C library.
    std::string sysroot = "";
    // Runs rc and nvram if they are programs of another processor; a static program, or empty.
    std::string emulator = "";
    // Used as every program that a shell line may call, and as the shell.
    std::string stub;
};

// The folder of the running program, with a trailing slash.
std::string own_folder();

// Everything to be put into each root, or a message about what is missing.
std::variant<Kit, std::string> gather_kit(const Programs& programs);

#endif
