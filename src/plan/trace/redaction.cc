// Which lines carry secrets is what provenance knows.

#include "plan/trace/redaction.h"

#include <algorithm>
#include <functional>

#include "libnvram/secret.h"

namespace {

// Shorter values stand in too many lines by chance.
constexpr size_t shortest_stored = 4;

// Whether there was one.
bool replace_all(std::string& text, const std::string& value) {
    if (value.empty()) return false;
    bool found = false;
    for (size_t at = text.find(value); at != std::string::npos;
         at = text.find(value, at + mask.size())) {
        text.replace(at, value.size(), mask);
        found = true;
    }
    return found;
}

// "key=value" with a secret's value masked.
std::string mask_assignment(const std::string& text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos || !nvram::is_secret(text.substr(0, equals))) return text;
    return text.substr(0, equals + 1) + std::string(mask);
}

}  // namespace

Masks::Masks(const Plan& plan, const Provenance& provenance) {
    for (const TranscriptLine& line : lines_of(plan.after.transcript)) {
        for (const Influence& influence : provenance.of(line.origin)) {
            if (influence.input.kind != Input::Kind::Setting) continue;
            if (!nvram::is_secret(influence.input.name)) continue;
            secrets_[line.origin].push_back(
                {.value = influence.answer.value_or(""), .carried = !influence.decides});
        }
    }
    const auto& events = plan.after.transcript.events();
    for (size_t index = 0; index < events.size(); index++) {
        const size_t equals = events[index].text.find('=');
        if (events[index].verb != "set" || equals == std::string::npos) continue;
        if (!nvram::is_secret(events[index].text.substr(0, equals))) continue;
        const std::string value = events[index].text.substr(equals + 1);
        secrets_[{index, 0}].push_back({.value = value, .carried = true});
        if (value.size() >= shortest_stored) stored_.push_back(value);
    }
    // One value may begin another.
    for (auto& [line, secrets] : secrets_)
        std::ranges::sort(secrets, std::greater(), [](const Secret& s) { return s.value.size(); });
}

std::string Masks::line(const Origin& origin, std::string text) const {
    const auto found = secrets_.find(origin);
    bool all_seen = true;
    if (found != secrets_.end()) {
        for (const Secret& secret : found->second) {
            const bool seen = replace_all(text, secret.value);
            if (secret.carried && !secret.value.empty() && !seen) all_seen = false;
        }
    }
    for (const std::string& value : stored_) replace_all(text, value);
    return all_seen ? text : std::string(mask);
}

std::string Masks::line(const FollowedFile& file, const FileLine& line) const {
    if (file.image()) return mask_assignment(line.text);
    std::string text = line.text;
    for (const Origin& origin : line.origins) text = this->line(origin, std::move(text));
    return text;
}

std::string Masks::answer(const Influence& influence) const {
    const bool secret =
        influence.input.kind == Input::Kind::Setting && nvram::is_secret(influence.input.name);
    const std::string value = influence.answer.value_or("");
    return secret && !value.empty() ? std::string(mask) : value;
}

bool Masks::in_body(size_t event) const {
    const auto first = secrets_.lower_bound({event, 1});
    return first != secrets_.end() && first->first.event == event;
}
