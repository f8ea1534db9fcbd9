// Running commands, printing messages, tracing: the helpers that every service uses.
#ifndef RC_CORE_COMMAND_H
#define RC_CORE_COMMAND_H

#include <stdio.h>

#include <optional>
#include <string>

// A command line holds at most this many characters; the rest is cut off.
constexpr size_t command_limit = 4095;

// Composes a command line, cuts it to command_limit, runs it through the shell and yields the
// processor. Always 0: no command's status is looked at.
[[gnu::format(printf, 1, 2)]] int SYSTEM(const char* text, ...);

// The same for a composed line that stands as its own format: "%%" becomes "%", any other "%"
// stays.
int SYSTEM_collapsed(const std::string& line);

// Collects what a command prints. Returns the wait status; 0 and an empty output when the command
// could not be started; 0 and no output when it printed more than pipe_limit.
constexpr size_t pipe_limit = 4u << 20;
int myPipe(const char* command, std::optional<std::string>& output);

// The dotted quad of an interface; nothing when it has no address, or (with a message) no socket
// could be had.
std::optional<std::string> getIPAddress(const char* ifname);

// Messages on standard output: printf and puts.
[[gnu::format(printf, 1, 2)]] void print(const char* text, ...);
void print_line(const char* text);

// Appends one line to /tmp/qostest.
[[gnu::format(printf, 1, 2)]] void DEBUG(const char* text, ...);

// Trace points of the daylight-saving code. They do nothing, so that they cost nothing.
[[gnu::format(printf, 1, 2)]] inline void debug_show(const char*, ...) {}

#endif
