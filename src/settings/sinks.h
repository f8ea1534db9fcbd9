// Where the text of each setting ends up: in which command lines, scripts and files.
#ifndef RC_SETTINGS_SINKS_H
#define RC_SETTINGS_SINKS_H

#include <cstdint>
#include <span>

namespace nvram {

// The context of the text.
enum class Quoting : std::uint8_t {
    Bare,          // a word of a shell line
    DoubleQuoted,  // between double quotes in a shell line
    SingleQuoted,  // between single quotes in a shell line
    File,          // a line of a file that no shell reads
    Crontab,       // a line of a crontab
};

// One line that rc writes from a setting, or from one field of its records.
struct Sink {
    const char* key;
    Quoting quoting;
    // "command" for a line that rc runs; otherwise the path of the file that contains the line.
    const char* place;
    // The whole line, with a byte \x01 where the text goes.
    const char* line;
    // Of the characters that are special to a shell or end a line, those that rc writes there
    // unescaped. It escapes the others, or drops a value that contains them.
    const char* passes;
    // The field of the setting's records that goes there; empty for the whole value.
    const char* field;
};

std::span<const Sink> setting_sinks();

}  // namespace nvram

#endif
