// The settings store: reading and changing the working copy, writing and reading the generations in
// flash.
#include "libnvram/store.h"

#include <cerrno>
#include <utility>

#include "libnvram/generation.h"

namespace nvram {

namespace {

// An open file or a held lock, closed by the destructor. Closing keeps the errno of an earlier
// failure.
class OpenFile {
  public:
    explicit OpenFile(int file) : file_(file) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() {
        const int reason = errno;
        if (file_ >= 0) io::close(file_);
        errno = reason;
    }
    explicit operator bool() const { return file_ >= 0; }
    int get() const { return file_; }
    int release() { return std::exchange(file_, -1); }

  private:
    int file_;
};

std::string folder_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

Store::~Store() {
    forget();
}

bool Store::fail(const std::string& path) {
    failed_path_ = path;
    return false;
}

int Store::lock() {
    const std::string path = places_.working + ".lock";
    const int file = io::lock(path.c_str());
    if (file < 0) fail(path);
    return file;
}

void Store::forget() {
    if (seen_file_ >= 0) io::close(std::exchange(seen_file_, -1));
    image_ = Image();
}

const Image* Store::working() {
    const char* const path = places_.working.c_str();
    io::Identity now;
    if (seen_file_ >= 0 && io::identify(path, now) && now == seen_) return &image_;

    OpenFile file(io::open_to_read(path));
    std::string text;
    // The identity is taken before reading, so that a write during the read is noticed at the next
    // call.
    if (!file || !io::identify_open(file.get(), now) ||
        !io::read_all(file.get(), image_limit, text)) {
        const int reason = errno;
        forget();
        errno = reason;
        fail(places_.working);
        return nullptr;
    }
    forget();
    image_ = Image(std::move(text));
    seen_ = now;
    seen_file_ = file.release();
    return &image_;
}

bool Store::read_file(const std::string& path, std::size_t limit, std::string& text) {
    const OpenFile file(io::open_to_read(path.c_str()));
    if (!file || !io::read_all(file.get(), limit, text)) return fail(path);
    return true;
}

bool Store::read_image(const std::string& path, Image& image) {
    std::string text;
    if (!read_file(path, image_limit, text)) return false;
    image = Image(std::move(text));
    return true;
}

bool Store::put_file(const std::string& temporary, const std::string& path, std::string_view text,
                     bool durable) {
    {
        const OpenFile file(io::create(temporary.c_str()));
        if (!file) return fail(temporary);
        if (io::write_all(file.get(), text) && (!durable || io::sync(file.get())) &&
            io::rename(temporary.c_str(), path.c_str()))
            return true;
    }
    const int reason = errno;
    io::remove(temporary.c_str());
    errno = reason;
    return fail(temporary);
}

bool Store::put_working(const std::vector<Entry>& entries) {
    const std::string text = serialise(entries);
    if (text.size() > image_limit) {
        errno = E2BIG;
        return fail(places_.working);
    }
    // The RAM disk is lost in a power cut anyway, so nothing is synced here.
    return put_file(places_.working + ".new", places_.working, text, false);
}

bool Store::change(const std::vector<Entry>& changes) {
    for (const Entry& entry : changes) {
        const int reason = !valid_key(entry.key)              ? EINVAL
                           : entry.value.size() > value_limit ? E2BIG
                                                              : 0;
        if (reason == 0) continue;
        errno = reason;
        return fail(places_.working);
    }

    const OpenFile held(lock());
    // Not read into image_, because the caller's texts may point into it.
    Image image;
    if (!held || !read_image(places_.working, image)) return false;
    bool changed = false;
    for (const Entry& entry : changes) changed |= image.apply(entry);
    return !changed || put_working(image.entries());
}

bool Store::replace(const std::vector<Entry>& entries) {
    const OpenFile held(lock());
    io::Identity identity;
    if (!held) return false;
    if (!io::identify(places_.working.c_str(), identity)) return fail(places_.working);
    return put_working(entries);
}

std::string Store::slot_path(char slot) const {
    std::string path = places_.flash + ".?";
    path.back() = slot;
    return path;
}

Store::Newest Store::newest_generation() {
    Newest newest;
    for (const char slot : {'a', 'b'}) {
        std::string text;
        if (!read_file(slot_path(slot), header_limit + image_limit, text)) {
            if (errno != ENOENT) newest.any_file = true;
            continue;
        }
        newest.any_file = true;
        const Generation generation = decode(text);
        if (generation.number <= newest.number) continue;
        newest.number = generation.number;
        newest.slot = slot;
        newest.image = generation.image;
    }
    return newest;
}

std::optional<std::string> Store::flash_image() {
    Newest newest = newest_generation();
    if (newest.number != 0) return std::move(newest.image);
    errno = newest.any_file ? EBADMSG : ENOENT;
    fail(places_.flash);
    return std::nullopt;
}

bool Store::put_generation(char slot, std::string_view text) {
    const std::string temporary = places_.flash + ".new";
    const std::string path = slot_path(slot);
    if (put_file(temporary, path, text, true)) return true;
    const std::string folder = folder_of(places_.flash);
    if (errno != ENOENT || !io::make_folder(folder.c_str())) return false;
    return put_file(temporary, path, text, true);
}

bool Store::commit_locked() {
    Image image;
    if (!read_image(places_.working, image)) return false;
    const std::string body = image.text();
    if (body.size() > image_limit) {
        errno = E2BIG;
        return fail(places_.working);
    }

    const Newest newest = newest_generation();
    const std::string text = encode({.number = newest.number + 1, .image = body});
    // The newest generation is never touched, so that an undamaged one exists at every moment.
    if (!put_generation(newest.slot == 'a' ? 'b' : 'a', text)) return false;
    const std::string folder = folder_of(places_.flash);
    if (!io::sync_folder(folder.c_str())) return fail(folder);
    // A new folder, made by us or by a commit that was killed, survives a power cut only if its
    // parent is synced too.
    if (newest.number != 0) return true;
    const std::string parent = folder_of(folder);
    return io::sync_folder(parent.c_str()) || fail(parent);
}

bool Store::commit() {
    // Under the lock, so that the later of two commits stores the newer settings.
    const OpenFile held(lock());
    return held && commit_locked();
}

bool Store::load_factory() {
    Image image;
    return read_image(places_.factory, image) && put_working(image.entries());
}

bool Store::load() {
    const OpenFile held(lock());
    if (!held) return false;
    if (std::optional<std::string> flash = flash_image())
        return put_working(Image(std::move(*flash)).entries());
    return errno == ENOENT && load_factory();
}

bool Store::restore_factory() {
    const OpenFile held(lock());
    return held && load_factory() && commit_locked();
}

}  // namespace nvram
