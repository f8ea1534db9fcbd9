// nvram export, import and diff: settings in files that users keep, edit and compare.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "libnvram/generation.h"
#include "nvram/json.h"
#include "nvram/verbs.h"

namespace nvram {

static int file_error(const Call& call, const char* path) {
    std::fprintf(stderr, "nvram: %s: %s: %s\n", call.verb, path, std::strerror(errno));
    return status_error;
}

// Prints a message for every bad line; true if there is no bad line.
static bool report(const Call& call, const char* path, const std::vector<BadLine>& bad_lines) {
    for (const BadLine& line : bad_lines)
        std::fprintf(stderr, "nvram: %s: %s: line %u %s\n", call.verb, path, line.number,
                     line.reason);
    return bad_lines.empty();
}

static bool names_standard_output(const struct stat& named) {
    struct stat output;
    return fstat(STDOUT_FILENO, &output) == 0 && output.st_dev == named.st_dev &&
           output.st_ino == named.st_ino;
}

// A device or a FIFO is written into, as long as its reader takes.
static bool write_into(const char* path, std::string_view text) {
    const int file = open(path, O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (file < 0) return false;
    const bool written = io::write_all(file, text);
    const int reason = errno;
    io::close(file);
    errno = reason;
    return written;
}

int export_verb(Store& store, const Call& call) {
    const Image* const image = store.working();
    if (image == nullptr) return store_error(store, call);
    const std::string text = image->text();
    const std::string path = call.words[0];
    struct stat named;
    const bool there = stat(path.c_str(), &named) == 0;
    if (path == "-" || (there && names_standard_output(named))) {
        std::fwrite(text.data(), 1, text.size(), stdout);
        return status_done;
    }
    const bool written = there && !S_ISREG(named.st_mode) ? write_into(path.c_str(), text)
                                                          : store.put_file(path, text, true);
    return written ? status_done : file_error(call, path.c_str());
}

// A file that the user names may be a FIFO, such as the shell's <(...).
static bool read_named(const char* path, std::size_t limit, std::string& text) {
    if (std::string_view(path) == "-") return io::read_all(STDIN_FILENO, limit, text);
    const int file = io::open_any_to_read(path);
    if (file < 0) return false;
    const bool read = io::read_all(file, limit, text);
    const int reason = errno;
    io::close(file);
    errno = reason;
    return read;
}

// Some editors begin a file with a byte order mark and end lines with CR LF. An image escapes a CR
// that belongs to a value.
static void remove_editor_marks(std::string& text) {
    constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";
    if (text.starts_with(byte_order_mark)) text.erase(0, byte_order_mark.size());
    if (!text.ends_with('\n')) text += '\n';
    std::size_t out = 0;
    for (const char c : text) {
        while (c == '\n' && out > 0 && text[out - 1] == '\r') --out;
        text[out++] = c;
    }
    text.resize(out);
}

bool read_settings_file(const Call& call, const char* path, Image& image) {
    std::string text;
    if (!read_named(path, image_limit, text)) {
        file_error(call, path);
        return false;
    }
    remove_editor_marks(text);
    std::vector<BadLine> bad_lines;
    image = Image(std::move(text), &bad_lines);
    if (report(call, path, bad_lines)) return true;
    std::fprintf(stderr, "nvram: %s: %s: no setting was changed\n", call.verb, path);
    return false;
}

int import_verb(Store& store, const Call& call) {
    Image image;
    if (!read_settings_file(call, call.words[0], image)) return status_error;
    const CallsJudge judge(call);
    const bool done = call.replace ? store.replace(image, judge.get())
                                   : store.change(image.entries(), judge.get());
    return stored(done, store, call, judge);
}

bool read_image_text(Store& store, const Call& call, std::string_view name, std::string& text) {
    std::string path(name);
    if (name == "@flash" || name == "@previous") {
        std::optional<std::string> image =
            name == "@flash" ? store.flash_image() : store.previous_image();
        if (!image) {
            store_error(store, call);
            return false;
        }
        text = std::move(*image);
        return true;
    }
    constexpr std::size_t limit = header_limit + image_limit;
    if (name == "@working" || name == "@factory") {
        path = name == "@working" ? store.places().working : store.places().factory;
        if (store.read_file(path, limit, text)) return true;
        store_error(store, call);
        return false;
    }
    if (!read_named(path.c_str(), limit, text)) {
        file_error(call, path.c_str());
        return false;
    }
    // A generation's own file may be compared too: its header is not part of the settings.
    const Generation generation = decode(text);
    if (generation.number != 0) text.erase(0, text.size() - generation.image.size());
    return true;
}

static void append_json_value(std::string& line, const char* name, const Entry* entry,
                              bool show_secrets) {
    append_json_name(line, name);
    if (entry == nullptr)
        line += "null";
    else
        append_json(line, show_secrets || !is_hidden(*entry) ? entry->value : hidden_value);
}

// A change as JSON: an object on a line.
static void print_json(std::string_view key, const Entry* left, const Entry* right,
                       bool show_secrets) {
    std::string line = "{";
    append_json_name(line, "key");
    append_json(line, key);
    append_json_value(line, "old", left, show_secrets);
    append_json_value(line, "new", right, show_secrets);
    std::puts((line + "}").c_str());
}

static bool print_difference(const Image& old_image, const Image& new_image, const Call& call) {
    auto left = old_image.entries().begin();
    auto right = new_image.entries().begin();
    const auto left_end = old_image.entries().end();
    const auto right_end = new_image.entries().end();
    bool differ = false;
    while (left != left_end || right != right_end) {
        const bool take_left = right == right_end || (left != left_end && left->key <= right->key);
        const bool take_right = left == left_end || (right != right_end && right->key <= left->key);
        if (!take_left || !take_right || left->value != right->value) {
            if (call.json) {
                print_json(take_left ? left->key : right->key, take_left ? &*left : nullptr,
                           take_right ? &*right : nullptr, call.show_secrets);
            } else {
                if (take_left) print_entry("- ", *left, call.show_secrets);
                if (take_right) print_entry("+ ", *right, call.show_secrets);
            }
            differ = true;
        }
        if (take_left) ++left;
        if (take_right) ++right;
    }
    return differ;
}

static int compare(Store& store, const Call& call, const char* old_name, const char* new_name) {
    std::string old_text;
    std::string new_text;
    if (!read_image_text(store, call, old_name, old_text)) return status_error;
    if (!read_image_text(store, call, new_name, new_text)) return status_error;

    std::vector<BadLine> old_bad;
    std::vector<BadLine> new_bad;
    const bool differ = print_difference(Image(std::move(old_text), &old_bad),
                                         Image(std::move(new_text), &new_bad), call);
    const bool old_good = report(call, old_name, old_bad);
    const bool new_good = report(call, new_name, new_bad);
    if (!old_good || !new_good) return status_error;
    return differ ? status_no : status_done;
}

int diff_verb(Store& store, const Call& call) {
    if (std::string_view(call.words[0]) == "-" && std::string_view(call.words[1]) == "-") {
        std::fputs("nvram: diff: standard input can be only one of the two\n", stderr);
        return status_error;
    }
    return compare(store, call, call.words[0], call.words[1]);
}

int previous_verb(Store& store, const Call& call) {
    return compare(store, call, "@previous", "@flash");
}

}  // namespace nvram
