// Provenance gives the lines that contain secrets.

#include "plan/trace/redaction.h"

#include <algorithm>
#include <functional>

#include "libnvram/secret.h"

namespace {

// Shorter values appear in too many lines by chance.
constexpr size_t shortest_stored = 4;

// True if something was replaced.
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

// "key=value" with a secret's value redacted.
std::string mask_assignment(const std::string& text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos || !nvram::is_secret(text.substr(0, equals))) return text;
    return text.substr(0, equals + 1) + std::string(mask);
}

bool is_secret_setting(const Input& input) {
    return input.kind == Input::Kind::Setting && nvram::is_secret(input.name);
}

// A mask for each row of bytes, so that a body keeps its number of lines.
std::string masked_bytes(size_t size) {
    constexpr size_t row = 8;
    std::string text;
    for (size_t at = 0; at < size; at += row) text += std::string(mask) + "\n";
    return text;
}

}  // namespace

Provenance trace_secrets(const Plan& plan) {
    return trace(plan, {}, is_secret_setting);
}

Redaction::Redaction(const Plan& plan, const Provenance& provenance) : plan_(plan) {
    for (const Input& input : plan.after.inputs) {
        if (!is_secret_setting(input)) continue;
        const std::string value = value_of_input(plan.before, input).value_or("");
        if (value.size() >= shortest_stored) read_.push_back(value);
    }
    std::ranges::sort(read_, std::greater(), &std::string::size);
    for (const TranscriptLine& line : lines_of(plan.after.transcript)) {
        for (const Influence& influence : provenance.of(line.origin)) {
            if (!is_secret_setting(influence.input)) continue;
            secrets_[line.origin].push_back(
                {.value = influence.answer.value_or(""), .carried = !influence.decides});
        }
    }
    const auto& events = plan.after.transcript.events();
    for (size_t index = 0; index < events.size(); index++) {
        const size_t equals = events[index].text.find('=');
        const bool saved = events[index].verb == "set" || events[index].verb == "change";
        if (!saved || equals == std::string::npos) continue;
        if (!nvram::is_secret(events[index].text.substr(0, equals))) continue;
        const std::string value = events[index].text.substr(equals + 1);
        secrets_[{index, 0}].push_back({.value = value, .carried = true});
        if (value.size() >= shortest_stored) stored_.push_back(value);
    }
    // Longest first, because one value may be the beginning of another.
    for (auto& [line, secrets] : secrets_)
        std::ranges::sort(secrets, std::greater(), [](const Secret& s) { return s.value.size(); });
}

std::string Redaction::line(const Origin& origin, std::string text) const {
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

std::string Redaction::line(const FollowedFile& file, const FileLine& line) const {
    if (file.image()) return mask_assignment(line.text);
    std::string text = line.text;
    for (const Origin& origin : line.origins) text = this->line(origin, std::move(text));
    return text;
}

std::string Redaction::path(const std::string& path) const {
    const std::vector<Event>& events = plan_.after.transcript.events();
    for (const auto& [origin, secrets] : secrets_)
        if (origin.line == 0 && events[origin.event].text == path) return line(origin, path);
    std::string shown = path;
    for (const std::string& value : read_) replace_all(shown, value);
    return shown;
}

std::string Redaction::answer(const Influence& influence) const {
    std::string value = influence.own_answer().value_or("");
    if (is_secret_setting(influence.input)) return value.empty() ? "" : std::string(mask);
    // A file or a program's output may hold what a secret setting says.
    if (influence.input.kind != Input::Kind::Setting)
        for (const std::string& secret : read_) replace_all(value, secret);
    return value;
}

Transcript Redaction::transcript() const {
    Transcript shown;
    const std::vector<Event>& events = plan_.after.transcript.events();
    for (size_t i = 0; i < events.size(); i++) {
        const Event& event = events[i];
        std::string body;
        if (event.body.find('\0') != std::string::npos) {
            body = in_body(i) ? masked_bytes(event.body.size()) : event.body;
        } else {
            size_t number = 0;
            for (const std::string_view text : body_lines(event.body))
                body += line({i, ++number}, std::string(text)) + "\n";
            if (!event.body.ends_with('\n') && !body.empty()) body.pop_back();
        }
        shown.depth = event.depth;
        if (event.verb == "print")
            shown.print(body);
        else if (event.has_body)
            shown.add_with_body(event.verb, line({i, 0}, event.text), body);
        else
            shown.add(event.verb, line({i, 0}, event.text));
    }
    return shown;
}

Provenance Redaction::provenance(const Provenance& traced) const {
    return traced.changed([this](const Influence& influence) {
        Influence shown = influence;
        const bool fact = influence.input.kind != Input::Kind::Setting;
        if (influence.answer && (fact || is_secret_setting(influence.input)))
            shown.answer = answer(influence);
        // A command line or a path may hold a secret.
        if (fact) shown.input.name = path(influence.input.name);
        return shown;
    });
}

bool Redaction::in_body(size_t event) const {
    const auto first = secrets_.lower_bound({event, 1});
    if (first != secrets_.end() && first->first.event == event) return true;
    const std::string& body = plan_.after.transcript.events()[event].body;
    return std::ranges::any_of(
        stored_, [&](const std::string& value) { return body.find(value) != std::string::npos; });
}
