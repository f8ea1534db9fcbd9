// The expectation of a case that is like another: the changes to the other's transcript
// (docs/cases.md, "Like another case").
#ifndef RC_PLAN_ROUTER_CASE_DIFFERENCE_H
#define RC_PLAN_ROUTER_CASE_DIFFERENCE_H

#include <string>
#include <string_view>
#include <variant>

#include "plan/router/case.h"

// The whole transcript. An error has the line number in the file; the changes begin at line
// `first_line`.
std::variant<std::string, CaseError> apply_changes(std::string_view base, std::string_view changes,
                                                   int first_line);

// The changes that turn `base` into `transcript`: apply_changes gives the same transcript.
std::string changes_between(std::string_view base, std::string_view transcript);

#endif
