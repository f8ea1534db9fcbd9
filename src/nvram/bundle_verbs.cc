// nvram mask, generations and bundle: what a router tells of itself without its secrets.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "libnvram/generation.h"
#include "libnvram/printable.h"
#include "nvram/mask.h"
#include "nvram/verbs.h"

namespace nvram {

namespace {

// A tar archive consists of blocks (ustar, POSIX.1-1988).
constexpr std::size_t block_size = 512;
char zeros[2 * block_size];

constexpr const char* cut_note = "\n(cut at 1048576 bytes)\n";

int fail(const char* problem) {
    std::fprintf(stderr, "nvram: mask: %s\n", problem);
    return status_error;
}

void write_text(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

// A file that cannot be read has no secrets that we could find.
bool add_secrets_of(Store& store, Mask& mask, const std::string& path, const char* ending) {
    std::string text;
    if (!store.read_file(path + ending, header_limit + image_limit, text)) return true;
    const Image image(std::move(text));
    for (const Entry& entry : image.entries())
        if (is_hidden(entry) && !mask.add(entry.value)) return false;
    return true;
}

// Also those of a damaged generation, and from before a change on trial.
bool add_secrets(Store& store, Mask& mask) {
    const Places& places = store.places();
    return add_secrets_of(store, mask, places.working, "") &&
           add_secrets_of(store, mask, places.working, ".before") &&
           add_secrets_of(store, mask, places.factory, "") &&
           add_secrets_of(store, mask, places.flash, ".a") &&
           add_secrets_of(store, mask, places.flash, ".b");
}

// Letters, digits, . _ - + and single slashes; no part begins with a dot.
bool is_member_name(const char* name) {
    char before = '/';
    const char* at = name;
    for (; *at != '\0'; before = *at++)
        if (*at == '/' || *at == '.' ? before == '/' : !valid_key({at, 1}) && *at != '+')
            return false;
    return before != '/' && at - name < 90;
}

// A member belongs to root, who alone may read it. Its time is that of the file it copies; a pipe's
// is now.
void write_header(const char* name, int file, std::size_t size) {
    struct stat input = {};
    ::fstat(file, &input);
    static char block[block_size];
    std::memset(block, 0, sizeof block);
    std::snprintf(block, 100, "rc-bundle/%s", name);
    // Mode, owner, group, size, time, room for the checksum, type.
    std::snprintf(block + 100, 58, "0000600%c0000000%c0000000%c%011zo%c%011llo%c%8s0", 0, 0, 0,
                  size, 0, static_cast<unsigned long long>(input.st_mtime) & 077777777777, 0, "");
    constexpr char format[] = {'u', 's', 't', 'a', 'r', 0, '0', '0'};
    std::memcpy(block + 257, format, sizeof format);
    unsigned sum = 0;
    for (const char c : block) sum += static_cast<unsigned char>(c);
    std::snprintf(block + 148, 8, "%06o", sum);
    write_text({block, sizeof block});
}

// Each run of marked bytes becomes hidden_value.
std::string replaced(std::string_view text, std::string_view marks) {
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t from = i;
        while (i < text.size() && marks[i] == marks[from]) ++i;
        result += marks[from] != '\0' ? hidden_value : text.substr(from, i - from);
    }
    return result;
}

}  // namespace

// What a secret looks like, for something in its place.
static int print_shapes(Store& store, const Call& call) {
    const Image* const image = store.working();
    if (image == nullptr) return store_error(store, call);
    for (const Entry& entry : image->entries()) {
        if (!is_hidden(entry)) continue;
        const std::size_t size = entry.value.size();
        const char* shape = "text";
        if (std::strspn(entry.value.data(), "0123456789abcdefABCDEF") == size)
            shape = "hexadecimal";
        if (std::strspn(entry.value.data(), "0123456789") == size) shape = "digits";
        std::printf("%.*s=%zu %s\n", static_cast<int>(entry.key.size()), entry.key.data(), size,
                    shape);
    }
    return status_done;
}

// Copies an open file without secrets, as a member of an archive if it has a name. Null, or why it
// was not read.
static const char* copy_masked(Mask& mask, int file, const char* name) {
    if (name != nullptr && !is_member_name(name)) return "not a member's name";
    std::string text;
    const bool whole = io::read_all(file, image_limit, text);
    if (!whole && errno != EFBIG) return std::strerror(errno);
    if (!whole) {
        text.resize(image_limit);
        text += cut_note;
    }
    // The other members are ours, and have keys and numbers.
    const bool parts = name != nullptr && std::strchr(name, '/') == nullptr;
    const std::string result = replaced(text, mask.marks(text, parts));
    if (name != nullptr) write_header(name, file, result.size());
    write_text(result);
    if (name != nullptr) write_text({zeros, -result.size() % block_size});
    return nullptr;
}

// Each file as the member files/PATH. One that cannot be read is left out and reported.
static int copy_files(Mask& mask, const Call& call) {
    int status = status_done;
    for (const char* const path : call.words) {
        const std::string name = std::string("files") + path;
        const int file = io::open_to_read(path);
        const char* const problem = *path != '/' ? "not a path from the root"
                                    : file < 0   ? std::strerror(errno)
                                                 : copy_masked(mask, file, name.c_str());
        if (file >= 0) io::close(file);
        if (problem == nullptr) continue;
        std::fprintf(stderr, "%s: %s\n", printable(name).c_str(), problem);
        status = status_error;
    }
    return status;
}

int mask_verb(Store& store, const Call& call) {
    if (call.shapes) return print_shapes(store, call);
    if (call.end) {
        write_text({zeros, sizeof zeros});
        return status_done;
    }
    static Mask mask;
    if (!add_secrets(store, mask)) return fail("the secrets are too long");
    if (call.files) return copy_files(mask, call);
    const char* const problem =
        call.words.size() > 1
            ? "too many arguments"
            : copy_masked(mask, STDIN_FILENO, call.words.empty() ? nullptr : call.words[0]);
    return problem == nullptr ? status_done : fail(problem);
}

#if RC_NVRAM_TABLE
int generations_verb(Store& store, const Call& call) {
    const char newest = store.newest_slot();
    for (const char slot : {'a', 'b'}) {
        std::string text;
        const std::string path = store.places().flash + (slot == 'a' ? ".a" : ".b");
        const bool read = store.read_file(path, header_limit + image_limit, text);
        const char* state = read || errno == EFBIG ? "damaged"
                            : errno == ENOENT      ? "missing"
                                                   : "unreadable";
        const unsigned number = decode(text).number;
        if (number != 0) state = "whole";
        std::printf(
            call.json
                ? "{\"slot\":\"%c\",\"state\":\"%s\",\"number\":%u,\"size\":%zu,\"load\":%s}\n"
                : "%c: %s, number %u, %zu bytes, taken by load: %s\n",
            slot, state, number, text.size(), slot == newest ? "true" : "false");
    }
    return status_done;
}
#endif

int bundle_verb(Store&, const Call& call) {
    const std::string script = std::string(call.root) + "/usr/sbin/rc-bundle";
    ::execl(script.c_str(), script.c_str(), call.words.empty() ? nullptr : call.words[0], nullptr);
    std::fprintf(stderr, "nvram: bundle: %s: %s\n", script.c_str(), std::strerror(errno));
    return status_error;
}

}  // namespace nvram
