// Where the text of each setting ends up: in which command lines, scripts and files.
#ifndef RC_SETTINGS_SINKS_H
#define RC_SETTINGS_SINKS_H

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

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
    // The whole line. A byte \x01 stands where the text goes; \x02key\x02 where another setting's
    // value goes, and \x02:field\x02 where another field of the same record goes; \x03 where
    // something goes that no setting says.
    const char* line;
    // Of the characters that are special to a shell or end a line, those that rc writes there
    // unescaped. It escapes the others, or drops a value that contains them.
    const char* passes;
    // The field of the setting's records that goes there; empty for the whole value.
    const char* field;
    // What has to hold of other settings for rc to write the line, separated by ';'. A key, and
    // "=a,b" (its value is one of these words), "^ab" (its value begins with one of these
    // characters), "!ab" (with none of them), "+" (is not empty), "-" (is empty), "#" (is a number
    // other than 0).
    // Of the text itself, ">7": it has at least 7 characters; "<10": rc writes the first 10; "!02":
    // it begins with none of these characters.
    const char* when = "";
};

// The forms that other settings' values have in a line: the byte that encloses a key or a field,
// and the one for something unknown.
inline constexpr char sink_text = '\x01';
inline constexpr char sink_other = '\x02';
inline constexpr char sink_unknown = '\x03';

std::span<const Sink> setting_sinks();

// Copies a sink's line. fill(kind, name) appends what stands for the text (sink_text), for another
// setting or field (sink_other; the name of a field begins with ':') and for the unknown.
template <class Fill>
void fill_sink_line(std::string& out, std::string_view line, Fill fill) {
    while (!line.empty()) {
        const char kind = line[0];
        line.remove_prefix(1);
        if (kind == sink_other) {
            const std::string_view name = line.substr(0, line.find(sink_other));
            fill(kind, name);
            line.remove_prefix(std::min(line.size(), name.size() + 1));
        } else if (kind == sink_text || kind == sink_unknown) {
            fill(kind, std::string_view());
        } else {
            out += kind;
        }
    }
}

}  // namespace nvram

#endif
