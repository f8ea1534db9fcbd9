// Compares texts with hidden parts.

#include "plan/inspect/hidden.h"

#include <algorithm>

#include "plan/inspect/found.h"

bool fits(std::string_view expected, std::string_view found) {
    size_t hidden = found.find(hidden_text);
    if (hidden == std::string_view::npos) return expected == found;
    if (!expected.starts_with(found.substr(0, hidden))) return false;
    expected.remove_prefix(hidden);
    found.remove_prefix(hidden + hidden_text.size());
    for (; (hidden = found.find(hidden_text)) != std::string_view::npos;
         found.remove_prefix(hidden + hidden_text.size())) {
        const std::string_view part = found.substr(0, hidden);
        const size_t at = expected.find(part);
        if (at == std::string_view::npos) return false;
        expected.remove_prefix(at + part.size());
    }
    return expected.ends_with(found);
}

std::vector<std::string> without_hidden(const std::vector<std::string>& expected,
                                        std::vector<std::string> found) {
    size_t from = 0;
    for (std::string& line : found) {
        const bool hidden = line.find(hidden_text) != std::string::npos;
        const auto same = std::find_if(
            expected.begin() + static_cast<ptrdiff_t>(from), expected.end(),
            [&](const std::string& other) { return hidden ? fits(other, line) : other == line; });
        if (same == expected.end()) continue;
        line = *same;
        from = static_cast<size_t>(same - expected.begin()) + 1;
    }
    return found;
}
