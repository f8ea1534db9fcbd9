// nvram export, import and diff: settings in files that users keep, edit and compare.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "libnvram/generation.h"
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

int export_verb(Store& store, const Call& call) {
    const Image* const image = store.working();
    if (image == nullptr) return store_error(store, call);
    const std::string text = image->text();
    const std::string path = call.words[0];
    if (path == "-") {
        std::fwrite(text.data(), 1, text.size(), stdout);
        return status_done;
    }
    // Two concurrent exports to one file must not share a temporary file; the store's lock does not
    // cover exports.
    char number[24];
    std::snprintf(number, sizeof number, ".%ld.new", static_cast<long>(getpid()));
    const bool written = store.put_file(path + number, path, text, true);
    return written ? status_done : file_error(call, path.c_str());
}

int import_verb(Store& store, const Call& call) {
    const char* const path = call.words[0];
    std::string text;
    const bool readable = std::string_view(path) == "-"
                              ? io::read_all(STDIN_FILENO, image_limit, text)
                              : store.read_file(path, image_limit, text);
    if (!readable) return file_error(call, path);

    std::vector<BadLine> bad_lines;
    const Image image(std::move(text), &bad_lines);
    if (!report(call, path, bad_lines)) {
        std::fprintf(stderr, "nvram: import: %s: no setting was changed\n", path);
        return status_error;
    }
    const bool stored =
        call.replace ? store.replace(image.entries()) : store.change(image.entries());
    return stored ? status_done : store_error(store, call);
}

bool read_image_text(Store& store, const Call& call, std::string_view name, std::string& text) {
    std::string path(name);
    if (name == "@flash") {
        std::optional<std::string> image = store.flash_image();
        if (!image) {
            store_error(store, call);
            return false;
        }
        text = std::move(*image);
        return true;
    }
    if (name == "@working") path = store.places().working;
    if (name == "@factory") path = store.places().factory;
    if (!store.read_file(path, header_limit + image_limit, text)) {
        store_error(store, call);
        return false;
    }
    // A generation's own file may be compared too: its header is not part of the settings.
    const Generation generation = decode(text);
    if (generation.number != 0) text.erase(0, text.size() - generation.image.size());
    return true;
}

static bool print_difference(const Image& old_image, const Image& new_image, bool show_secrets) {
    auto left = old_image.entries().begin();
    auto right = new_image.entries().begin();
    const auto left_end = old_image.entries().end();
    const auto right_end = new_image.entries().end();
    bool differ = false;
    while (left != left_end || right != right_end) {
        const bool take_left = right == right_end || (left != left_end && left->key <= right->key);
        const bool take_right = left == left_end || (right != right_end && right->key <= left->key);
        if (!take_left || !take_right || left->value != right->value) {
            if (take_left) print_entry("- ", *left, show_secrets);
            if (take_right) print_entry("+ ", *right, show_secrets);
            differ = true;
        }
        if (take_left) ++left;
        if (take_right) ++right;
    }
    return differ;
}

int diff_verb(Store& store, const Call& call) {
    std::string old_text;
    std::string new_text;
    if (!read_image_text(store, call, call.words[0], old_text)) return status_error;
    if (!read_image_text(store, call, call.words[1], new_text)) return status_error;

    std::vector<BadLine> old_bad;
    std::vector<BadLine> new_bad;
    const bool differ = print_difference(Image(std::move(old_text), &old_bad),
                                         Image(std::move(new_text), &new_bad), call.show_secrets);
    const bool old_good = report(call, call.words[0], old_bad);
    const bool new_good = report(call, call.words[1], new_bad);
    if (!old_good || !new_good) return status_error;
    return differ ? status_no : status_done;
}

}  // namespace nvram
