// The settings store: the working copy, which all processes share, and the two generations in
// flash.
#ifndef RC_LIBNVRAM_STORE_H
#define RC_LIBNVRAM_STORE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "libnvram/image.h"
#include "libnvram/places.h"
#include "libnvram/store_io.h"

namespace nvram {

// Every change of the working copy happens under one lock and ends in a rename, so a reader needs
// no lock. A function that fails returns false with errno set, failed_path() naming the file, and
// nothing changed.
class Store {
  public:
    explicit Store(Places places) : places_(std::move(places)) {}
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store();

    // The working copy, read again only if its file changed; nullptr with errno set if it cannot be
    // read. It lives until the next call.
    const Image* working();

    // Carries out all changes in one write. EINVAL: an invalid key; E2BIG: a value or the image is
    // too large; ENOENT: no working copy, which only load() and restore_factory() create.
    bool change(const std::vector<Entry>& changes);

    // Gives the working copy exactly these entries, sorted by key.
    bool replace(const std::vector<Entry>& entries);

    // Writes the working copy over the older generation.
    bool commit();

    // Makes the working copy from the newest undamaged generation, or from the factory settings if
    // flash was never written. EBADMSG: all generations are damaged.
    bool load();

    // Makes the working copy from the factory settings and commits it. If only the commit fails,
    // the new working copy stays.
    bool restore_factory();

    // The image in the newest undamaged generation; nullopt with errno set, EBADMSG as for load().
    std::optional<std::string> flash_image();

    const Places& places() const { return places_; }
    const std::string& failed_path() const { return failed_path_; }

    // Reads a whole file of at most limit bytes.
    bool read_file(const std::string& path, std::size_t limit, std::string& text);

    // Writes a temporary file and renames it to path; if durable, its content is synced to the disk
    // before the rename.
    bool put_file(const std::string& temporary, const std::string& path, std::string_view text,
                  bool durable);

  private:
    struct Newest {
        std::uint32_t number = 0;
        char slot = 'b';  // so that the first commit goes to slot a
        bool any_file = false;
        std::string image;
    };

    int lock();
    bool read_image(const std::string& path, Image& image);
    bool put_working(const std::vector<Entry>& entries);
    bool commit_locked();
    bool load_factory();
    std::string slot_path(char slot) const;
    Newest newest_generation();
    bool put_generation(char slot, std::string_view text);
    void forget();
    bool fail(const std::string& path);

    Places places_;
    std::string failed_path_;
    // Keeping the file open prevents reuse of its inode number, so that no other image is mistaken
    // for this one.
    int seen_file_ = -1;
    io::Identity seen_;
    Image image_;
};

}  // namespace nvram

#endif
