// Texts for an HTML page. Text from a router is untrusted: all of it passes through here.
#ifndef RC_PLAN_REPORT_HTML_H
#define RC_PLAN_REPORT_HTML_H

#include <string>
#include <string_view>

// For content, and for attributes in double quotes. A byte that is not printable ASCII is written
// as \xNN.
std::string html_escaped(std::string_view text);

// A router's bytes on one line: as in transcripts (escape_line), then escaped.
std::string shown_line(std::string_view bytes);

// A part of an id: letters, digits and '_' unchanged, any other byte as "-" and two hexadecimal
// digits. Different names give different parts.
std::string anchor(std::string_view name);

// The source of a page's script or style for its content security policy: 'sha256-...', from the
// digest's hexadecimal digits.
std::string policy_source(std::string_view sha256_digits);

#endif
