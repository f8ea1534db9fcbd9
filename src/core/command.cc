// Running commands, printing messages, tracing: the helpers that every service uses.

#include "core/command.h"

#include <arpa/inet.h>
#include <errno.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

#include <initializer_list>
#include <span>

#include "core/file.h"
#include "core/platform.h"
#include "core/text.h"

int SYSTEM(const char* text, ...) {
    char line[command_limit + 1];
    va_list arguments;
    va_start(arguments, text);
    compose(line, sizeof line, text, arguments);
    va_end(arguments);
    platform::run_shell(line);
    platform::sleep_microseconds(1);
    return 0;
}

int SYSTEM_collapsed(const std::string& line) {
    return SYSTEM("%s", percent_collapsed(line).c_str());
}

// One piece as fgets(3) reads it. An interrupted call is continued, because otherwise the bytes
// read so far and the rest of the output would be lost.
static bool read_piece(FILE* stream, std::span<char> piece) {
    size_t length = 0;
    while (length + 1 < piece.size()) {
        const int c = fgetc(stream);
        if (c == EOF && ferror(stream) && errno == EINTR) {
            clearerr(stream);
            continue;
        }
        if (c == EOF) break;
        piece[length++] = static_cast<char>(c);
        if (c == '\n') break;
    }
    piece[length] = '\0';
    return length > 0;
}

// Makes room for at least this many bytes: twice the old room, so that a long text is not copied
// for each of its lines, or just enough if there is no more. False, with nothing changed, if memory
// is short.
static bool grow(OwnedText& text, size_t& room, size_t needed) {
    for (const size_t wanted : {needed > 2 * room ? needed : 2 * room, needed}) {
        auto* const grown = static_cast<char*>(realloc(text.get(), wanted));
        if (!grown) continue;
        // realloc has taken over the old text.
        static_cast<void>(text.release());
        text.reset(grown);
        room = wanted;
        return true;
    }
    return false;
}

int myPipe(const char* command, OwnedText& output) {
    output.reset(strdup(""));
    FILE* stream = platform::open_pipe(command);
    if (!stream) return 0;

    size_t length = 0;
    size_t room = 1;
    char piece[4096];
    while (read_piece(stream, piece)) {
        const size_t more = strlen(piece);
        if (length + more + 1 > room && !grow(output, room, length + more + 1)) {
            output.reset();
            platform::close_pipe(stream);
            return 0;
        }
        memcpy(output.get() + length, piece, more + 1);
        length += more;
    }
    return platform::close_pipe(stream);
}

std::optional<std::string> getIPAddress(const char* ifname) {
    in_addr address = {};
    switch (platform::interface_address(ifname, address)) {
        case platform::InterfaceQuery::NoSocket:
            platform::print_error("socket creating failed");
            return std::nullopt;
        case platform::InterfaceQuery::NotThere:
            return std::nullopt;
        case platform::InterfaceQuery::Found:
            break;
    }
    char quad[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &address, quad, sizeof quad);
}

void print(const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    vfprintf(platform::standard_output(), text, arguments);
    va_end(arguments);
}

void print_line(const char* text) {
    print("%s\n", text);
}

void DEBUG(const char* text, ...) {
    FILE* stream = platform::open_file("/tmp/qostest", "a+");
    if (!stream) return;

    va_list arguments;
    va_start(arguments, text);
    vfprintf(stream, text, arguments);
    va_end(arguments);
    fputc('\n', stream);
    fflush(stream);
    fclose(stream);
}
