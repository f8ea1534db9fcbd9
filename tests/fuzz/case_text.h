// A case's givens as the text of a case file.
#ifndef RC_TESTS_CASE_TEXT_H
#define RC_TESTS_CASE_TEXT_H

#include <string>

#include "plan/router/case.h"

// Up to and with "expect": parse_case reads the same givens from it. What a case file cannot say is
// left out: words, names and paths that hold a double quote, and hardware addresses.
std::string case_text(const Case& stated);

#endif
