// What a run with a changed setting hands to shells and leaves in files, line by line.
#ifndef RC_PLAN_TRACE_OUTPUTS_H
#define RC_PLAN_TRACE_OUTPUTS_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "plan/router/plan.h"

// All lines that a run itself hands to a shell or leaves in files: use(place, line). What nested
// runs do is theirs. Binary files have no lines.
void for_each_output(
    const Plan& plan,
    const std::function<void(const std::string& place, std::string_view line)>& use);

// The run with one setting's value changed.
Plan play_with(const World& router, const std::vector<std::string>& words, const std::string& key,
               const std::string& value);

#endif
