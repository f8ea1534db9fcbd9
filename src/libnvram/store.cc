// The settings store: reading and changing the working copy, writing and reading the generations in
// flash.
#include "libnvram/store.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include "libnvram/generation.h"
#include "libnvram/lookup.h"

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
    void take(int file) { file_ = file; }
    int release() { return std::exchange(file_, -1); }

  private:
    int file_;
};

std::string folder_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Temporary files are the path, a dot, the process's number and ".new".
std::string temporary_of(const std::string& path) {
    char end[32];
    std::snprintf(end, sizeof end, ".%ld.new", io::process_number());
    return path + end;
}

void remove_leftovers_of(const std::string& path) {
    const std::string_view whole = path;
    io::remove_leftovers(folder_of(path).c_str(), whole.substr(whole.rfind('/') + 1));
}

}  // namespace

Store::~Store() {
    forget();
}

bool Store::fail(const std::string& path) {
    failed_path_ = path;
    return false;
}

// The lock's own file orders all operations. Somebody may remove it while it is held; so the
// working copy is locked too, if there is one: nobody else replaces it between a reading and the
// rename.
struct Store::Held {
    OpenFile lock{-1};
    OpenFile working{-1};
};

bool Store::lock(Held& held) {
    bad_lines_.clear();
    in_flash_ = false;
    const std::string path = places_.working + ".lock";
    held.lock.take(io::make_and_lock(path.c_str()));
    if (!held.lock) return fail(path);
    held.working.take(io::lock(places_.working.c_str()));
    return held.working || errno == ENOENT || fail(places_.working);
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
    // call. Without one the file is read at each call.
    const bool known = file && io::identify_open(file.get(), now);
    if (!file || (!known && errno != EOVERFLOW) || !io::read_all(file.get(), image_limit, text)) {
        const int reason = errno;
        forget();
        errno = reason;
        fail(places_.working);
        return nullptr;
    }
    forget();
    image_ = Image(std::move(text));
    if (known) {
        seen_ = now;
        seen_file_ = file.release();
    }
    return &image_;
}

const Image* Store::working_around(std::string_view key) {
    // A process that asks twice asks often, and then the whole image costs less.
    if (std::exchange(looked_up_, true)) return working();
    const OpenFile file(io::open_to_read(places_.working.c_str()));
    std::string text;
    if (!file || !read_lines_around(key, file.get(), text)) return working();
    forget();
    image_ = Image(std::move(text));
    return &image_;
}

bool Store::read_file(const std::string& path, std::size_t limit, std::string& text) {
    const OpenFile file(io::open_to_read(path.c_str()));
    if (!file || !io::read_all(file.get(), limit, text)) return fail(path);
    return true;
}

// Writing a working copy with a line that cannot be read would drop the line.
bool Store::read_working(Image& image, const std::string_view* around) {
    const OpenFile file(io::open_to_read(places_.working.c_str()));
    std::string text;
    if (!file || !io::read_all(file.get(), image_limit, text)) return fail(places_.working);
    Lines lines;
    // With the mark still there after the read, nobody has written meanwhile.
    if (around != nullptr && io::marked_size(file.get()) == text.size())
        lines = find_lines_around(*around, text);
    image = Image(std::move(text), &bad_lines_, lines);
    if (bad_lines_.empty()) return true;
    errno = EBADMSG;
    return fail(places_.working);
}

bool Store::accepted(const Judge* judge, const Image& image) {
    if (judge == nullptr) return true;
    if (judge->accepts(Image(image.text()), judge->context)) return true;
    errno = ECANCELED;
    return fail(places_.working);
}

bool Store::put_file(const std::string& path, std::string_view text, bool durable) {
    const std::string temporary = temporary_of(path);
    {
        const OpenFile file(io::create(temporary.c_str()));
        if (!file) return fail(path);
        const bool written = io::write_all(file.get(), text);
        if (written && !durable) io::mark_sorted(file.get());
        if (written && (!durable || io::sync(file.get())) &&
            io::rename(temporary.c_str(), path.c_str()))
            return true;
    }
    const int reason = errno;
    io::remove(temporary.c_str());
    errno = reason;
    return fail(path);
}

bool Store::put_working(const Image& image) {
    const std::string text = image.text();
    if (text.size() > image_limit) {
        errno = E2BIG;
        return fail(places_.working);
    }
    remove_leftovers_of(places_.working);
    // The RAM disk is lost in a power cut anyway, so nothing is synced here.
    return put_file(places_.working, text, false);
}

bool Store::put_text(std::string&& text) {
    return put_working(Image(std::move(text)));
}

bool Store::change_around(const std::string_view* around, std::span<const Entry> changes,
                          const Judge* judge) {
    for (const Entry& entry : changes) {
        const int reason = !valid_key(entry.key)              ? EINVAL
                           : entry.value.size() > value_limit ? E2BIG
                                                              : 0;
        if (reason == 0) continue;
        errno = reason;
        return fail(places_.working);
    }

    Held held;
    // Not read into image_, because the caller's texts may point into it.
    Image image;
    if (!lock(held) || !read_working(image, around)) return false;
    bool changed = false;
    for (const Entry& entry : changes) changed |= image.apply(entry);
    if (!accepted(judge, image)) return false;
    return !changed || put_working(image);
}

bool Store::change(std::span<const Entry> changes, const Judge* judge) {
    return change_around(nullptr, changes, judge);
}

bool Store::set(const Entry& entry) {
    return change_around(&entry.key, {&entry, 1}, nullptr);
}

bool Store::replace(const Image& image, const Judge* judge) {
    Held held;
    if (!lock(held)) return false;
    if (!held.working) {
        errno = ENOENT;
        return fail(places_.working);
    }
    return accepted(judge, image) && put_working(image);
}

std::string Store::slot_path(char slot) const {
    std::string path = places_.flash + ".?";
    path.back() = slot;
    return path;
}

// False if a generation cannot be read just now: it may be the newest.
bool Store::newest_generation(Newest& newest) {
    for (const char slot : {'a', 'b'}) {
        std::string text;
        const std::string path = slot_path(slot);
        const bool read = read_file(path, header_limit + image_limit, text);
        if (!read && errno == ENOENT) continue;
        // A file that is too large is not a generation.
        if (!read && errno != EFBIG) return false;
        // For the copies of the image and the list of its entries.
        constexpr std::size_t copies = 12;
        if (read && !io::has_memory(copies * text.size())) {
            errno = ENOMEM;
            return fail(path);
        }
        newest.any_file = true;
        const Generation generation = read ? decode(text) : Generation();
        if (!is_newer(generation.number, newest.number)) continue;
        newest.number = generation.number;
        newest.slot = slot;
        newest.image = generation.image;
    }
    return true;
}

std::optional<std::string> Store::flash_image() {
    Newest newest;
    if (!newest_generation(newest)) return std::nullopt;
    if (newest.number != 0) return std::move(newest.image);
    errno = newest.any_file ? EBADMSG : ENOENT;
    fail(places_.flash);
    return std::nullopt;
}

char Store::newest_slot() {
    Newest newest;
    return newest_generation(newest) && newest.number != 0 ? newest.slot : '\0';
}

std::optional<std::string> Store::previous_image() {
    Newest newest;
    if (!newest_generation(newest)) return std::nullopt;
    const std::string path = slot_path(newest.slot == 'a' ? 'b' : 'a');
    std::string text;
    if (newest.number != 0 && read_file(path, header_limit + image_limit, text)) {
        const Generation generation = decode(text);
        if (generation.number != 0) return std::string(generation.image);
        errno = EBADMSG;
    } else if (newest.number == 0) {
        errno = ENOENT;
    }
    fail(path);
    return std::nullopt;
}

bool Store::load_previous() {
    Held held;
    if (!lock(held)) return false;
    std::optional<std::string> image = previous_image();
    return image && put_text(std::move(*image));
}

bool Store::put_generation(char slot, std::string_view text) {
    const std::string path = slot_path(slot);
    remove_leftovers_of(path);
    if (put_file(path, text, true)) return true;
    const std::string folder = folder_of(places_.flash);
    if (errno != ENOENT || !io::make_folder(folder.c_str())) return false;
    return put_file(path, text, true);
}

bool Store::commit_locked(const Judge* judge) {
    Image image;
    if (!read_working(image)) return false;
    const std::string body = image.text();
    if (image.entries().empty() || body.size() > image_limit) {
        errno = body.empty() ? ENODATA : E2BIG;
        return fail(places_.working);
    }
    if (!accepted(judge, image)) return false;

    Newest newest;
    if (!newest_generation(newest)) return false;
    const std::string text = encode({.number = number_after(newest.number), .image = body});
    // The newest generation is never touched, so that an undamaged one exists at every moment.
    if (!put_generation(newest.slot == 'a' ? 'b' : 'a', text)) return false;
    in_flash_ = true;
    const std::string folder = folder_of(places_.flash);
    if (!io::sync_folder(folder.c_str())) return fail(folder);
    // A new folder, made by us or by a commit that was killed, survives a power cut only if its
    // parent is synced too.
    if (newest.number != 0) return true;
    const std::string parent = folder_of(folder);
    return io::sync_folder(parent.c_str()) || fail(parent);
}

// False while a change is on trial: a power cut must bring back the settings from before it.
bool Store::no_trial() {
    io::Identity trial;
    failed_path_ = places_.working;
    failed_path_ += trial_ending;
    if (!io::identify(failed_path_.c_str(), trial)) {
        if (errno == ENOENT) return true;
        if (errno != EOVERFLOW) return false;
    }
    errno = EBUSY;
    return false;
}

bool Store::commit(const Judge* judge) {
    // Under the lock, so that the later of two commits stores the newer settings.
    Held held;
    return lock(held) && no_trial() && commit_locked(judge);
}

bool Store::confirm() {
    Held held;
    return lock(held) && commit_locked(nullptr);
}

bool Store::load_factory() {
    std::string text;
    return read_file(places_.factory, image_limit, text) && put_text(std::move(text));
}

bool Store::load() {
    Held held;
    if (!lock(held)) return false;
    if (std::optional<std::string> flash = flash_image()) return put_text(std::move(*flash));
    return errno == ENOENT && load_factory();
}

bool Store::restore_factory(bool* kept_flash) {
    Held held;
    if (!lock(held) || !no_trial()) return false;
    if (!held.working) {
        // Flash that cannot be read just now may hold the user's settings too.
        Newest newest;
        if (!newest_generation(newest) || newest.number != 0) {
            if (kept_flash != nullptr) *kept_flash = true;
            return load_factory();
        }
    }
    return load_factory() && commit_locked(nullptr);
}

}  // namespace nvram
