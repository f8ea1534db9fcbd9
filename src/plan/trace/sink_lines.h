// The texts of sinks' lines, as nvram::Sink has them, compared word by word.
#ifndef RC_PLAN_TRACE_SINK_LINES_H
#define RC_PLAN_TRACE_SINK_LINES_H

#include <string>
#include <string_view>
#include <vector>

// A line that differs from another in some words, with \x03 in their places; either may have such
// places already.
std::string generalised(std::string_view line, std::string_view other);

// The same of lines that hold the text several times. A word may begin with it; where a word holds
// it later, that may be a part of it.
std::string generalised_words(std::string_view line, std::string_view other);

// Whether a line is the sink's with this text.
bool is_line_of(std::string_view sink_line, std::string_view text, std::string_view line);

// The longer the beginning and the end that two texts share, the more alike they are.
size_t likeness(std::string_view one, std::string_view other);

// Whether two lines of a shell use the text alike: the same program, with the same options and
// chains in front of the text; or the same program, and the same option just before it.
bool same_options(std::string_view one, std::string_view other);
bool same_last_option(std::string_view one, std::string_view other);

// The same of two lines of a file that are NAME=VALUE.
bool same_name(std::string_view one, std::string_view other);

std::vector<std::string_view> words_of_line(std::string_view text);

#endif
