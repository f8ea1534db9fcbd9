// Whole files, and messages on standard error.
#ifndef RC_RCPLAN_FILES_H
#define RC_RCPLAN_FILES_H

#include <optional>
#include <string>

// The content of a file, "-" for standard input; nullopt after a message with the reason.
std::optional<std::string> read_file(const std::string& path);

// False after a message with the reason.
bool write_file(const std::string& path, const std::string& text);

// Prints text on standard output. Bytes that are not printable UTF-8 are escaped as nvram escapes
// them, so that no text of a router controls the terminal; line ends and our own colours stay.
void print(const std::string& text);

// Prints one message on standard error, its bytes in the same form; for an error, the caller exits
// with status 2.
void complain(const std::string& what);

#endif
