// The settings' text image: one key=value a line, sorted by key. Pure: no system calls.
#ifndef RC_LIBNVRAM_IMAGE_H
#define RC_LIBNVRAM_IMAGE_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nvram {

inline constexpr std::size_t key_limit = 127;
inline constexpr std::size_t value_limit = 65536;
inline constexpr std::size_t image_limit = 1048576;

// As a change, an entry whose value is no_value removes its key; "" is a value like any other.
struct Entry {
    std::string_view key;
    std::string_view value;
};

inline constexpr std::string_view no_value{};

// A line that the reader skipped; the reason completes "line 7 ...".
struct BadLine {
    unsigned number;
    const char* reason;
};

// 1 to 127 of A-Z a-z 0-9 _ - and '.'.
bool valid_key(std::string_view key);

// Whole lines of a text: the bytes from begin up to end, or all if both are 0.
struct Lines {
    std::size_t begin = 0;
    std::size_t end = 0;
};

class Image {
  public:
    Image() = default;
    // Takes ownership of the text, so that it is in memory once. Blank lines and lines that begin
    // with '#' are comments; if a key is given twice, the last line counts. Of other lines than the
    // given ones it takes no notice, except that they are in text().
    explicit Image(std::string&& text, std::vector<BadLine>* bad_lines = nullptr, Lines lines = {});
    explicit Image(const std::string& text, std::vector<BadLine>* bad_lines = nullptr)
        : Image(std::string(text), bad_lines) {}

    // An image that was moved away may only be destroyed or assigned to.
    Image(Image&&) = default;
    Image& operator=(Image&&) = default;

    // Sorted by key in byte order, no key twice. A zero byte follows each value. The texts live
    // until the image is destroyed or changed; moving the image leaves them valid.
    const std::vector<Entry>& entries() const { return entries_; }
    std::optional<std::string_view> get(std::string_view key) const;

    // False, with nothing changed, if the key is invalid or the value too long.
    bool set(std::string_view key, std::string_view value);

    // Carries out one change; false if it changes nothing. The change's texts have to live as long
    // as the image.
    bool apply(const Entry& change);

    std::string text() const;

  private:
    // Always longer than the string's in-object buffer, because moving such a string would move the
    // bytes.
    std::string bytes_;
    Lines lines_;
    std::vector<Entry> entries_;
};

// The entries as lines of an image, behind the text.
std::string serialise(const std::vector<Entry>& entries, std::string text = {});

// Appends a byte as an image escapes it: \xHH.
void append_escaped_byte(std::string& out, char c);

// Appends one value in an image's form: backslash, bytes below 0x20 and 0x7f are escaped.
void append_escaped(std::string& out, std::string_view value);

}  // namespace nvram

#endif
