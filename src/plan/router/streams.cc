// Streams by fopencookie(3) over texts in memory.

#include "plan/router/streams.h"

#include <errno.h>

#include "core/text.h"
#include "plan/router/recording.h"

namespace {

// An open file of the router behind a stdio stream.
struct Stream {
    std::string path;
    std::string mode;
    std::shared_ptr<std::string> content;
    std::string before;
    size_t offset = 0;

    bool appends() const { return mode.starts_with('a'); }
    bool updates() const { return contains(mode, "+"); }
};

ssize_t read_stream(void* cookie, char* buffer, size_t size) {
    if (call_fails(Fallible::Read, EIO)) return -1;
    auto* stream = static_cast<Stream*>(cookie);
    if (stream->offset >= stream->content->size()) return 0;
    const size_t count = stream->content->copy(buffer, size, stream->offset);
    stream->offset += count;
    return static_cast<ssize_t>(count);
}

ssize_t write_stream(void* cookie, const char* buffer, size_t size) {
    // fopencookie(3) expects 0 on error, not -1.
    if (call_fails(Fallible::Write, ENOSPC)) return 0;
    auto* stream = static_cast<Stream*>(cookie);
    std::string& content = *stream->content;
    if (stream->appends()) stream->offset = content.size();
    if (content.size() < stream->offset + size) content.resize(stream->offset + size);
    content.replace(stream->offset, size, buffer, size);
    stream->offset += size;
    return static_cast<ssize_t>(size);
}

int seek_stream(void* cookie, off64_t* offset, int whence) {
    auto* stream = static_cast<Stream*>(cookie);
    off64_t base = 0;
    if (whence == SEEK_CUR) base = static_cast<off64_t>(stream->offset);
    if (whence == SEEK_END) base = static_cast<off64_t>(stream->content->size());
    if (base + *offset < 0) {
        errno = EINVAL;
        return -1;
    }
    *offset += base;
    stream->offset = static_cast<size_t>(*offset);
    return 0;
}

int close_stream(void* cookie) {
    const std::unique_ptr<Stream> stream(static_cast<Stream*>(cookie));
    Transcript& transcript = recording().transcript;
    const std::string& content = *stream->content;
    if (stream->appends()) {
        if (content.size() > stream->before.size())
            transcript.add_with_body("append", stream->path, content.substr(stream->before.size()));
    } else if (stream->mode.starts_with('w') || (stream->updates() && content != stream->before)) {
        transcript.add_with_body("write", stream->path, content);
    }
    return 0;
}

}  // namespace

FILE* open_file_stream(const std::string& path, const std::string& mode,
                       const std::shared_ptr<std::string>& content) {
    auto* stream = new Stream{.path = path, .mode = mode, .content = content, .before = *content};
    return fopencookie(stream, mode.c_str(),
                       {read_stream, write_stream, seek_stream, close_stream});
}

FILE* open_output_stream(const std::string& output) {
    auto* stream = new Stream{.path = "",
                              .mode = "r",
                              .content = std::make_shared<std::string>(output),
                              .before = output};
    return fopencookie(stream, "r", {read_stream, nullptr, nullptr, close_stream});
}
