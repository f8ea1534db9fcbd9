// The stated part of a case as the text of a case file.
#ifndef RC_TESTS_CASE_TEXT_H
#define RC_TESTS_CASE_TEXT_H

#include <string>

#include "plan/router/case.h"

// Up to and including "expect": parse_case reads the same case from it. A case file cannot express
// words, names and paths with a double quote, and hardware addresses; these are left out.
std::string case_text(const Case& stated);

#endif
