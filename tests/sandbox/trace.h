// What the parts of the sealed root tell each other: sealed_play fills its hidden folder, the
// recorder in rc and the recording shell write what happens into the trace there.
#ifndef RC_TESTS_SANDBOX_TRACE_H
#define RC_TESTS_SANDBOX_TRACE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sealed {

// All paths are those inside the sealed root.
inline constexpr const char* trace_file = "/.sealed/trace";
// rc's standard output. An event tells how much of it came before, so no byte that rc prints can
// pass for an event.
inline constexpr const char* output_file = "/.sealed/output";
// The process id that the next rc gets.
inline constexpr const char* pid_file = "/.sealed/pid";
// Microseconds since the kernel started; missing when the case states /proc/uptime itself.
inline constexpr const char* uptime_file = "/.sealed/uptime";
inline constexpr const char* clock_file = "/.sealed/clock";
// Path and mode of each denied open; shell line and output of each pipe.
inline constexpr const char* denied_file = "/.sealed/denied";
inline constexpr const char* outputs_file = "/.sealed/outputs";
inline constexpr const char* real_shell = "/.sealed/busybox";

// Environment: how deeply nested the next rc is, and that a shell was started by popen or by a
// shell line.
inline constexpr const char* depth_variable = "SEALED_DEPTH";
inline constexpr const char* pipe_variable = "SEALED_PIPE";
inline constexpr const char* inner_variable = "SEALED_INNER";

struct TraceEvent {
    size_t printed = 0;  // bytes of standard output before it
    int depth = 0;
    std::string verb;
    std::string text;
    std::optional<std::string> body;
};

void append_event(int depth, std::string_view verb, std::string_view text,
                  std::optional<std::string_view> body = std::nullopt);
// Nothing when the trace is damaged.
std::optional<std::vector<TraceEvent>> parse_trace(std::string_view trace);

// A list of texts as one text, each behind its length. Nothing when it is none.
std::string pack(const std::vector<std::string>& fields);
std::optional<std::vector<std::string>> unpack(std::string_view packed);

// Without stdio, which the recorder listens to. The empty text when the file cannot be read; false
// with errno set.
std::string read_file(const char* path);
std::string read_all(int file);
bool write_file(const char* path, std::string_view content);
// Every folder exists on a case's router: makes those that a path goes through.
void make_folders(const std::string& path);
std::string uptime_text(long long microseconds);

}  // namespace sealed

#endif
