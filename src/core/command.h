// Running commands, printing messages, tracing: the helpers that every service uses.
#ifndef RC_CORE_COMMAND_H
#define RC_CORE_COMMAND_H

#include <stdio.h>
#include <stdlib.h>

#include <memory>
#include <optional>
#include <string>

// A command line holds at most this many characters; the rest is cut off.
constexpr size_t command_limit = 4095;

// Composes a command line, cuts it to command_limit, runs it through the shell and yields the
// processor. Always 0: commands' statuses are ignored.
[[gnu::format(printf, 1, 2)]] int SYSTEM(const char* text, ...);

// The same for a composed line that is its own format: "%%" becomes "%", any other "%" stays.
int SYSTEM_collapsed(const std::string& line);

// A text from malloc(3), or none.
struct FreeText {
    void operator()(char* text) const { free(text); }
};
using OwnedText = std::unique_ptr<char, FreeText>;

// Collects all of a command's output. Returns the wait status; 0 and an empty output if the command
// could not be started; 0 and no output if memory is short.
int myPipe(const char* command, OwnedText& output);

// An interface's address in dotted-quad form; nullopt if it has none, or (with a message) if no
// socket could be opened.
std::optional<std::string> getIPAddress(const char* ifname);

// Messages on standard output: printf and puts.
[[gnu::format(printf, 1, 2)]] void print(const char* text, ...);
void print_line(const char* text);

// Appends one line to /tmp/qostest.
[[gnu::format(printf, 1, 2)]] void DEBUG(const char* text, ...);

// Trace points of the daylight-saving code. They are empty, so that they cost nothing.
[[gnu::format(printf, 1, 2)]] inline void debug_show(const char*, ...) {}

#endif
