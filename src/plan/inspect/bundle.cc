// Reads archives with libarchive.

#include "plan/inspect/bundle.h"

#include <archive.h>
#include <archive_entry.h>
#include <errno.h>

#include <algorithm>
#include <memory>
#include <new>

#include "plan/router/transcript.h"

namespace {

constexpr std::string_view folder = "rc-bundle/";
constexpr size_t block_size = 16384;
constexpr const char* no_archive = "damaged, or no tar archive";

struct Closer {
    void operator()(archive* reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<archive, Closer>;

Reader new_reader() {
    Reader reader(archive_read_new());
    if (!reader) throw std::bad_alloc();
    archive_read_support_format_tar(reader.get());
    archive_read_support_filter_gzip(reader.get());
    return reader;
}

// A path's parts, none of which leads elsewhere.
bool is_plain_path(std::string_view path) {
    while (!path.empty()) {
        const std::string_view part = path.substr(0, path.find('/'));
        if (part.empty() || part == "." || part == "..") return false;
        path.remove_prefix(std::min(path.size(), part.size() + 1));
    }
    return true;
}

bool is_printable(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c > ' ' && c <= '~'; });
}

std::string name_of(archive_entry* entry) {
    const char* const name = archive_entry_pathname(entry);
    return name ? name : "";
}

// Why a member is refused; empty if it is not.
std::string refusal(const std::string& name, archive_entry* entry, const Bundle& bundle) {
    if (bundle.members.size() == most_members)
        return "more than " + std::to_string(most_members) + " members";
    if (!name.starts_with(folder) || !is_printable(name) ||
        !is_plain_path(name.substr(folder.size())) || name.size() == folder.size())
        return "no name of a bundle's member";
    if (archive_entry_filetype(entry) != AE_IFREG || archive_entry_hardlink(entry) != nullptr)
        return "not a plain file";
    if (bundle.get(name.substr(folder.size()))) return "twice in the archive";
    return "";
}

// False if there is more than the limit.
bool read_content(archive* reader, size_t limit, std::string& content) {
    char block[block_size];
    for (la_ssize_t count = 0; (count = archive_read_data(reader, block, sizeof block)) > 0;) {
        if (content.size() + static_cast<size_t>(count) > limit) return false;
        content.append(block, static_cast<size_t>(count));
    }
    return true;
}

std::string read_members(archive* reader, Bundle& bundle) {
    size_t left = longest_bundle;
    for (archive_entry* entry = nullptr;;) {
        const int result = archive_read_next_header(reader, &entry);
        if (result == ARCHIVE_EOF) return "";
        if (result != ARCHIVE_OK) return no_archive;
        const std::string name = name_of(entry);
        const std::string reason = refusal(name, entry, bundle);
        if (!reason.empty()) return escape_line(name.substr(0, 80)) + ": " + reason;
        std::string content;
        if (!read_content(reader, std::min(left, longest_member), content))
            return escape_line(name) + ": larger than any router's file";
        if (archive_errno(reader) != 0) return escape_line(name) + ": damaged";
        left -= content.size();
        bundle.times[name.substr(folder.size())] = archive_entry_mtime(entry);
        bundle.members.emplace(name.substr(folder.size()), std::move(content));
    }
}

// After opening an archive with this result.
std::variant<Bundle, BundleError> read_opened(const Reader& reader, int result) {
    if (result != ARCHIVE_OK) {
        // libarchive says so of every format that it was not asked for.
        if (archive_errno(reader.get()) == EILSEQ) return BundleError{no_archive};
        const char* const reason = archive_error_string(reader.get());
        return BundleError{reason ? reason : "cannot be read"};
    }
    Bundle bundle;
    const std::string reason = read_members(reader.get(), bundle);
    if (!reason.empty()) return BundleError{reason};
    if (!bundle.get("about") || !bundle.get("settings"))
        return BundleError{"not an archive of rc-bundle: it has no " + std::string(folder) +
                           (bundle.get("about") ? "settings" : "about")};
    return bundle;
}

}  // namespace

const std::string* Bundle::get(const std::string& name) const {
    const auto found = members.find(name);
    return found == members.end() ? nullptr : &found->second;
}

std::string_view Bundle::output(const std::string& name) const {
    const std::string* const text = get("commands/" + name);
    return text ? std::string_view(*text) : std::string_view();
}

std::variant<Bundle, BundleError> read_bundle(const std::string& path) {
    const Reader reader = new_reader();
    const char* const name = path == "-" ? nullptr : path.c_str();
    return read_opened(reader, archive_read_open_filename(reader.get(), name, block_size));
}

std::variant<Bundle, BundleError> read_bundle(int file) {
    const Reader reader = new_reader();
    return read_opened(reader, archive_read_open_fd(reader.get(), file, block_size));
}
