// Nothing in rc calls these.
#ifndef RC_CORE_UNUSED_H
#define RC_CORE_UNUSED_H

#include <stdio.h>

#include <string>

// Traces one message to a stream, which is then closed unless it is standard output. If the stream
// is null, traces to /dev/console.
[[gnu::format(printf, 5, 6)]] void console_trace(FILE* stream, const char* file, int line,
                                                 const char* function, const char* text, ...);

// Copies src up to, not including, the first delimiter or its end. An absent src gives the empty
// text.
void strccpy(std::string& dest, const char* src, char delimiter);

// Does nothing. Always 0.
int rc_marker_hook();

#endif
