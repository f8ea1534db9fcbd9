// Follows a transcript's files line by line.

#include "plan/router/file_history.h"

#include <algorithm>

#include "plan/router/plan.h"
#include "plan/router/settings.h"
#include "plan/router/shell_effects.h"

namespace {

// Appends written text. The origins of its lines are the lines of the event's body, from line 1, or
// the event's own line for all of them.
void extend(FollowedFile& file, std::string_view addition, size_t event, bool has_body) {
    size_t number = 0;
    for (const std::string_view text : body_lines(addition)) {
        number++;
        if (file.ended || file.lines.empty()) file.lines.emplace_back();
        file.ended = true;
        file.lines.back().text += text;
        file.lines.back().origins.push_back({event, has_body ? number : 0});
    }
    if (!addition.empty()) file.ended = addition.ends_with('\n');
}

}  // namespace

std::string FollowedFile::content() const {
    std::string content;
    for (const FileLine& line : lines) content += line.text + '\n';
    if (!ended && !content.empty()) content.pop_back();
    return content;
}

bool FollowedFile::binary() const {
    return std::ranges::any_of(
        lines, [](const FileLine& line) { return line.text.find('\0') != std::string::npos; });
}

bool FollowedFile::image() const {
    return path == working_copy || path == flash_image || path == factory_image;
}

FollowedFile unfollowed_file(const std::string& path, std::string_view content) {
    FollowedFile file = {.path = path, .lines = {}};
    extend(file, content, 0, false);
    for (FileLine& line : file.lines) line.origins.clear();
    return file;
}

FileHistory::FileHistory(const World& before) : world_(copy_of(before)) {
    for (const auto& [path, content] : world_.files) restart(path, *content);
}

void FileHistory::follow(size_t index, const Event& event) {
    if (event.verb == "write" || event.verb == "append") write(index, event);
    if (event.verb == "run" || event.verb == "pipe") run(index, event.text);
    if (event.verb == "remove") remove(event.text);
    if (event.verb == "load") load(index);
    if (event.verb == "set") set(index, event);
    if (event.verb == "commit") commit();
}

const FollowedFile* FileHistory::find(const std::string& path) const {
    const auto found = files_.find(path);
    return found == files_.end() ? nullptr : &found->second;
}

void FileHistory::restart(const std::string& path, std::string_view content) {
    files_[path] = unfollowed_file(path, content);
}

void FileHistory::remove(const std::string& path) {
    world_.files.erase(path);
    files_.erase(path);
}

void FileHistory::write(size_t index, const Event& event) {
    const std::string* before = event.verb == "append" ? world_.get(event.text) : nullptr;
    if (!before) restart(event.text, "");
    extend(files_[event.text], event.body, index, true);
    world_.put(event.text, (before ? *before : "") + event.body);
}

// A shell line writes new lines (echo), or copies a file (cp) with the origins of its lines.
void FileHistory::run(size_t index, const std::string& line) {
    for (const FileEffect& effect : file_effects(world_, line)) {
        if (!effect.content) {
            remove(effect.path);
            continue;
        }
        const std::string* old = world_.get(effect.path);
        if (old && *old == *effect.content) continue;
        if (files_.contains(effect.copied_from)) {
            copy(effect.copied_from, effect.path, index);
        } else {
            const bool appended = old && effect.content->starts_with(*old);
            const size_t kept = appended ? old->size() : 0;
            if (!appended) restart(effect.path, "");
            extend(files_[effect.path], std::string_view(*effect.content).substr(kept), index,
                   false);
        }
        apply_file_effect(world_, effect);
    }
}

void FileHistory::copy(const std::string& from, const std::string& to, size_t index) {
    FollowedFile copied = files_[from];
    copied.path = to;
    for (FileLine& line : copied.lines)
        if (line.origins.empty()) line.origins = {{index, 0}};
    files_[to] = std::move(copied);
}

void FileHistory::load(size_t index) {
    const std::string* image = world_.get(flash_image);
    if (!image) image = world_.get(factory_image);
    if (!image) return;
    world_.put(working_copy, settings_image(read_settings(*image)));
    restart(working_copy, "");
    extend(files_[working_copy], *world_.get(working_copy), index, false);
}

// Each setting that is stored is a line of the working copy.
void FileHistory::set(size_t index, const Event& event) {
    const std::string* image = world_.get(working_copy);
    const size_t equals = event.text.find('=');
    if (!image || equals == std::string::npos) return;
    world_.put(
        working_copy,
        changed_image(*image, {{event.text.substr(0, equals), event.text.substr(equals + 1)}}));

    const std::vector<FileLine> old = std::move(files_[working_copy].lines);
    restart(working_copy, *world_.get(working_copy));
    const std::string key = event.text.substr(0, equals + 1);
    for (FileLine& line : files_[working_copy].lines) {
        const auto same = std::ranges::find(old, line.text, &FileLine::text);
        if (line.text.starts_with(key))
            line.origins = {{index, 0}};
        else if (same != old.end())
            line.origins = same->origins;
    }
}

// Flash gets the working copy's lines with their origins.
void FileHistory::commit() {
    const std::string* image = world_.get(working_copy);
    if (!image) return;
    world_.put(flash_image, *image);
    files_[flash_image] = files_[working_copy];
    files_[flash_image].path = flash_image;
}
