// Communication between the parts of the sealed root: sealed_play fills its hidden folder, and the
// recorder in rc and the recording shell write events into the trace there.
#ifndef RC_TESTS_SANDBOX_TRACE_H
#define RC_TESTS_SANDBOX_TRACE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sealed {

// All paths are those inside the sealed root.
inline constexpr const char* trace_file = "/.sealed/trace";
// rc's standard output. An event contains the number of bytes printed before it, so no output of rc
// can be mistaken for an event.
inline constexpr const char* output_file = "/.sealed/output";
// The process id of the next rc.
inline constexpr const char* pid_file = "/.sealed/pid";
// Microseconds since the kernel started; missing if the case states /proc/uptime itself.
inline constexpr const char* uptime_file = "/.sealed/uptime";
inline constexpr const char* clock_file = "/.sealed/clock";
// Path and mode of each denied open; shell line and output of each pipe.
inline constexpr const char* denied_file = "/.sealed/denied";
inline constexpr const char* outputs_file = "/.sealed/outputs";
// Shell line, key and value of each setting that another program saves during the run.
inline constexpr const char* changes_file = "/.sealed/changes";
inline constexpr const char* real_shell = "/.sealed/busybox";
// Programs of another processor, and what runs them.
inline constexpr const char* emulated_folder = "/.sealed/emulated/";
inline constexpr const char* emulator = "/.sealed/emulator";

// Environment: the nesting depth of the next rc; set if a shell was started by popen or by a shell
// line.
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
// nullopt if the trace is damaged.
std::optional<std::vector<TraceEvent>> parse_trace(std::string_view trace);

// A list of texts as one text, each after its length. unpack returns nullopt for any other text.
std::string pack(const std::vector<std::string>& fields);
std::optional<std::vector<std::string>> unpack(std::string_view packed);

// These do not use stdio, which the recorder intercepts. The empty text if the file cannot be read;
// false with errno set if it cannot be written.
std::string read_file(const char* path);
std::string read_all(int file);
bool write_file(const char* path, std::string_view content);
// Makes the parent folders of a path, because every folder exists on a case's router.
void make_folders(const std::string& path);
std::string uptime_text(long long microseconds);

}  // namespace sealed

#endif
