// The settings store: the working copy, which all processes share, and the two generations in
// flash.
#ifndef RC_LIBNVRAM_STORE_H
#define RC_LIBNVRAM_STORE_H

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "libnvram/image.h"
#include "libnvram/places.h"
#include "libnvram/store_io.h"

namespace nvram {

// Looks at settings before they are stored, with the context that its owner gave; false refuses
// them.
struct Judge {
    bool (*accepts)(const Image& image, void* context);
    void* context;
};

// Every change of the working copy happens under a lock and ends in a rename, so a reader needs no
// lock. A function that fails returns false with errno set, failed_path() naming the file, and
// nothing changed except where its comment says so.
class Store {
  public:
    explicit Store(Places places) : places_(std::move(places)) {}
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store();

    // The working copy, read again only if its file changed; nullptr with errno set if it cannot be
    // read. It lives until the next call.
    const Image* working();

    // The same, but the first call reads only the lines around the key's if the working copy is as
    // the store wrote it: for processes that ask for one key. The image has that key if the working
    // copy has it.
    const Image* working_around(std::string_view key);

    // Carries out all changes in one write. EINVAL: an invalid key; E2BIG: a value or the image is
    // too large; ENOENT: no working copy, which only load() and restore_factory() create; EBADMSG:
    // it has bad_lines(), which the write would drop; ECANCELED: refused.
    bool change(std::span<const Entry> changes, const Judge* judge = nullptr);
    bool change(std::initializer_list<Entry> changes, const Judge* judge = nullptr) {
        return change(std::span<const Entry>(changes.begin(), changes.size()), judge);
    }

    // The same for one change, without looking at more lines than those around the key's if the
    // working copy is as the store wrote it.
    bool set(const Entry& change);

    // Gives the working copy exactly the image's settings. ECANCELED: refused.
    bool replace(const Image& image, const Judge* judge = nullptr);

    // Writes the working copy over the older generation. ENODATA: it has no settings; EBADMSG: it
    // has bad_lines(); ECANCELED: refused; EBUSY: a change is on trial (Places::trial). If only the
    // last sync fails, the new settings are in_flash().
    bool commit(const Judge* judge = nullptr);

    // The same for the change that is on trial.
    bool confirm();

    // Makes the working copy from the newest undamaged generation, or from the factory settings if
    // flash was never written. EBADMSG: all generations are damaged. A generation that cannot be
    // read may be the newest, so no other one is loaded instead.
    bool load();

    // Makes the working copy from the factory settings and commits it. If only the commit fails,
    // the new working copy stays. A missing working copy means that a load has failed: then flash
    // is kept, unless all its generations are damaged or it was never written. EBUSY: a change is
    // on trial.
    bool restore_factory(bool* kept_flash = nullptr);

    // The image in the newest undamaged generation; nullopt with errno set, errors as of load().
    std::optional<std::string> flash_image();

    // The slot of the newest undamaged generation, which load() takes: 'a' or 'b'; 0 if there is
    // none or one cannot be read.
    char newest_slot();

    // The image in the generation before the newest one. nullopt with errno set: ENOENT if there is
    // no such generation, EBADMSG if it is damaged.
    std::optional<std::string> previous_image();

    // Makes the working copy from that.
    bool load_previous();

    const Places& places() const { return places_; }
    const std::string& failed_path() const { return failed_path_; }

    // The lines of the working copy that the last change, set or commit could not read. A set that
    // looked at few lines counts from the first of these.
    const std::vector<BadLine>& bad_lines() const { return bad_lines_; }

    // The last commit has replaced the older generation; if it failed nevertheless, a power cut may
    // undo that.
    bool in_flash() const { return in_flash_; }

    // Reads a whole regular file of at most limit bytes.
    bool read_file(const std::string& path, std::size_t limit, std::string& text);

    // Writes a temporary file and renames it to path. Before the rename the content is synced to
    // the disk if durable, otherwise it is marked as sorted by key.
    bool put_file(const std::string& path, std::string_view text, bool durable);

  private:
    struct Newest {
        std::uint32_t number = 0;
        char slot = 'b';  // so that the first commit goes to slot a
        bool any_file = false;
        std::string image;
    };

    // The locks of one operation.
    struct Held;

    bool lock(Held& held);
    bool read_working(Image& image, const std::string_view* around = nullptr);
    bool change_around(const std::string_view* around, std::span<const Entry> changes,
                       const Judge* judge);
    bool accepted(const Judge* judge, const Image& image);
    bool put_working(const Image& image);
    bool put_text(std::string&& text);
    bool commit_locked(const Judge* judge);
    bool load_factory();
    std::string slot_path(char slot) const;
    bool newest_generation(Newest& newest);
    bool no_trial();
    bool put_generation(char slot, std::string_view text);
    void forget();
    bool fail(const std::string& path);

    Places places_;
    std::string failed_path_;
    std::vector<BadLine> bad_lines_;
    bool in_flash_ = false;
    // Keeping the file open prevents reuse of its inode number, so that no other image is mistaken
    // for this one.
    int seen_file_ = -1;
    io::Identity seen_;
    Image image_;
    bool looked_up_ = false;
};

}  // namespace nvram

#endif
