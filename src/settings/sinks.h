// Where the text of each setting ends up: the command lines, scripts and files that rc makes of it.
#ifndef RC_SETTINGS_SINKS_H
#define RC_SETTINGS_SINKS_H

#include <cstdint>
#include <span>

namespace nvram {

// What stands around the text.
enum class Quoting : std::uint8_t {
    Bare,          // a word of a shell line
    DoubleQuoted,  // between double quotes in a shell line
    SingleQuoted,  // between single quotes in a shell line
    File,          // a line of a file that no shell reads
    Crontab,       // a line of a crontab
};

// One line that rc makes of a setting, or of one field of its records.
struct Sink {
    const char* key;
    Quoting quoting;
    // "command" for a line that rc runs; else the path of the file that the line stands in.
    const char* place;
    // The whole line, with a byte \x01 where the text goes.
    const char* line;
    // Of the characters that mean something to a shell or end a line, those that rc writes there as
    // they are. It escapes the others, or drops a value that holds them.
    const char* passes;
    // The field of the setting's records that stands there; empty for the value as a whole.
    const char* field;
};

std::span<const Sink> setting_sinks();

}  // namespace nvram

#endif
