// Nothing in rc calls these.

#include "core/unused.h"

#include <stdarg.h>

#include "core/platform.h"

void console_trace(FILE* stream, const char* file, int line, const char* function, const char* text,
                   ...) {
    if (!stream) stream = platform::open_file("/dev/console", "a+");
    if (!stream) return;

    fprintf(stream, "=%s(%d):%s=| ", file, line, function);
    va_list arguments;
    va_start(arguments, text);
    vfprintf(stream, text, arguments);
    va_end(arguments);
    if (stream != platform::standard_output()) fclose(stream);
}

void strccpy(std::string& dest, const char* src, char delimiter) {
    dest.clear();
    if (!src) return;
    while (*src && *src != delimiter) dest += *src++;
}

int rc_marker_hook() {
    return 0;
}
