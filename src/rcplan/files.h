// Whole files, and messages on standard error.
#ifndef RC_RCPLAN_FILES_H
#define RC_RCPLAN_FILES_H

#include <optional>
#include <string>

// The content of a file, "-" for standard input; nullopt after a message with the reason.
std::optional<std::string> read_file(const std::string& path);

// False after a message with the reason.
bool write_file(const std::string& path, const std::string& text);

// One message on standard error, for which the exit status is 2.
void complain(const std::string& what);

#endif
