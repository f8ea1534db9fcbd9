// The trace of a sealed run, and the small files beside it.

#include "trace.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>

namespace sealed {

namespace {

constexpr size_t fields_of_event = 5;

bool write_all(int file, std::string_view content) {
    while (!content.empty()) {
        const ssize_t count = write(file, content.data(), content.size());
        if (count < 0) return false;
        content.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

// A lost event must end the run: otherwise an incomplete transcript would be compared.
[[noreturn]] void give_up(const char* path) {
    dprintf(STDERR_FILENO, "the sealed root's %s cannot be written: errno %d\n", path, errno);
    abort();
}

}  // namespace

void append_event(int depth, std::string_view verb, std::string_view text,
                  std::optional<std::string_view> body) {
    struct stat output = {};
    stat(output_file, &output);
    const std::string body_field = body ? "|" + std::string(*body) : "";
    const std::string event = pack({std::to_string(output.st_size), std::to_string(depth),
                                    std::string(verb), std::string(text), body_field});
    const int file = open(trace_file, O_WRONLY | O_APPEND | O_CLOEXEC);
    if (file < 0 || !write_all(file, event)) give_up(trace_file);
    close(file);
}

std::optional<std::vector<TraceEvent>> parse_trace(std::string_view trace) {
    const auto fields = unpack(trace);
    if (!fields || fields->size() % fields_of_event != 0) return std::nullopt;
    std::vector<TraceEvent> events;
    for (size_t at = 0; at < fields->size(); at += fields_of_event) {
        const std::string* const field = &(*fields)[at];
        TraceEvent event = {.printed = strtoul(field[0].c_str(), nullptr, 10),
                            .depth = atoi(field[1].c_str()),
                            .verb = field[2],
                            .text = field[3],
                            .body = {}};
        if (!field[4].empty()) event.body = field[4].substr(1);
        events.push_back(std::move(event));
    }
    return events;
}

std::string pack(const std::vector<std::string>& fields) {
    std::string packed;
    for (const std::string& field : fields) packed += std::to_string(field.size()) + ":" + field;
    return packed;
}

std::optional<std::vector<std::string>> unpack(std::string_view packed) {
    std::vector<std::string> fields;
    while (!packed.empty()) {
        size_t length = 0;
        const char* const end = packed.data() + packed.size();
        const auto [rest, error] = std::from_chars(packed.data(), end, length);
        if (error != std::errc() || rest == end || *rest != ':') return std::nullopt;
        packed.remove_prefix(static_cast<size_t>(rest + 1 - packed.data()));
        if (length > packed.size()) return std::nullopt;
        fields.emplace_back(packed.substr(0, length));
        packed.remove_prefix(length);
    }
    return fields;
}

std::string read_all(int file) {
    std::string content;
    char piece[65536];
    ssize_t count = 0;
    while ((count = read(file, piece, sizeof piece)) > 0)
        content.append(piece, static_cast<size_t>(count));
    return content;
}

std::string read_file(const char* path) {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return "";
    std::string content = read_all(file);
    close(file);
    return content;
}

bool write_file(const char* path, std::string_view content) {
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0) return false;
    const bool written = write_all(file, content);
    close(file);
    return written;
}

void make_folders(const std::string& path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1))
        mkdir(path.substr(0, slash).c_str(), 0755);
}

std::string uptime_text(long long microseconds) {
    char text[64];
    const long long seconds = microseconds / 1'000'000;
    const long long hundredths = microseconds / 10'000 % 100;
    snprintf(text, sizeof text, "%lld.%02lld %lld.%02lld\n", seconds, hundredths, seconds,
             hundredths);
    return text;
}

}  // namespace sealed
