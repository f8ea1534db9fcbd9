// Settings: values read from the store.
#ifndef RC_CORE_NVRAM_H
#define RC_CORE_NVRAM_H

#include <memory>
#include <string_view>

// The value of one setting. Never absent: a setting that is not set reads as the empty text. Owns
// the text.
class Setting {
  public:
    explicit Setting(char* owned);

    const char* text() const { return text_ ? text_.get() : ""; }
    std::string_view view() const { return text(); }
    bool is_set() const { return text_ != nullptr; }
    bool empty() const { return *text() == '\0'; }

    // Flags are "1" and "0"; only the first character matters.
    bool on() const { return *text() == '1'; }
    bool off() const { return *text() == '0'; }
    bool is(std::string_view whole) const { return view() == whole; }
    bool contains(std::string_view part) const { return view().find(part) != view().npos; }
    // As atoi(3), within the range of int.
    int number() const;

    // This setting, or the other text if it is not set.
    Setting or_when_absent(const char* other) &&;

  private:
    struct Release {
        void operator()(char* text) const;
    };
    std::unique_ptr<char, Release> text_;
};

// A setting; if it is not set, the empty text.
Setting nvram_text(const char* key);

// A setting for which "not set" and "empty" differ (or_when_absent).
Setting nvram_value(const char* key);

// One key of an image file; the empty text if the file does not have it.
Setting nvram_image_text(const char* key, const char* path);

#endif
