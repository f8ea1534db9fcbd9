// Follows a transcript's files line by line.

#include "plan/trace/produced.h"

#include <algorithm>
#include <map>

#include "plan/router/recording.h"
#include "plan/router/shell_effects.h"

namespace {

std::string content_of(const ProducedFile& file) {
    std::string content;
    for (const FileLine& line : file.lines) content += line.text + '\n';
    if (!file.ended && !content.empty()) content.pop_back();
    return content;
}

// Adds what was written at the end. Where its own lines stand: line 1 of the event's body and on,
// or the event's own line for all of them.
void extend(ProducedFile& file, std::string_view addition, size_t event, bool has_body) {
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

class Follower {
  public:
    explicit Follower(const Plan& plan) : plan_(plan), world_(copy_of(plan.before)) {
        for (const auto& [path, content] : world_.files) restart(path, *content);
    }
    std::vector<ProducedFile> follow();

  private:
    const Plan& plan_;
    World world_;
    std::map<std::string, ProducedFile> files_;

    void restart(const std::string& path, std::string_view content);
    void write(size_t index, const Event& event);
    void run(size_t index, const Event& event);
    void copy(const std::string& from, const std::string& to, size_t index);
    void load(size_t index);
    void set(size_t index, const Event& event);
    void commit();
};

// A file whose lines come from nowhere yet.
void Follower::restart(const std::string& path, std::string_view content) {
    ProducedFile& file = files_[path] = {.path = path, .lines = {}};
    extend(file, content, 0, false);
    for (FileLine& line : file.lines) line.origins.clear();
}

void Follower::write(size_t index, const Event& event) {
    if (event.verb == "write" || !files_.contains(event.text)) restart(event.text, "");
    extend(files_[event.text], event.body, index, true);
    world_.put(event.text, content_of(files_[event.text]));
}

// A shell line makes lines of its own (echo), or copies a file (cp) and with it what its lines come
// from.
void Follower::run(size_t index, const Event& event) {
    const World before = copy_of(world_);
    apply_file_effects(world_, event.text);
    for (const auto& file : world_.files) {
        const std::string& path = file.first;
        const std::string& content = *file.second;
        const std::string* old = before.get(path);
        if (old && *old == content) continue;
        const auto source = std::ranges::find_if(before.files, [&](const auto& other) {
            return *other.second == content && event.text.find(other.first) != std::string::npos;
        });
        if (source != before.files.end()) {
            copy(source->first, path, index);
            continue;
        }
        const bool appended = old && content.starts_with(*old);
        if (!appended) restart(path, "");
        extend(files_[path], std::string_view(content).substr(appended ? old->size() : 0), index,
               false);
    }
}

void Follower::copy(const std::string& from, const std::string& to, size_t index) {
    ProducedFile copied = files_[from];
    copied.path = to;
    for (FileLine& line : copied.lines)
        if (line.origins.empty()) line.origins = {{index, 0}};
    files_[to] = std::move(copied);
}

void Follower::load(size_t index) {
    const std::string* image = world_.get(flash_image);
    if (!image) image = world_.get(factory_image);
    if (!image) return;
    world_.put(working_copy, settings_image(read_settings(*image)));
    restart(working_copy, "");
    extend(files_[working_copy], *world_.get(working_copy), index, false);
}

// The working copy is an image of its own; a stored setting is its line.
void Follower::set(size_t index, const Event& event) {
    const std::string* image = world_.get(working_copy);
    const size_t equals = event.text.find('=');
    if (!image || equals == std::string::npos) return;
    Settings settings = read_settings(*image);
    settings[event.text.substr(0, equals)] = event.text.substr(equals + 1);
    world_.put(working_copy, settings_image(settings));

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

// Flash gets the working copy's lines, and what is known of them.
void Follower::commit() {
    const std::string* image = world_.get(working_copy);
    if (!image) return;
    world_.put(flash_image, *image);
    files_[flash_image] = files_[working_copy];
    files_[flash_image].path = flash_image;
}

std::vector<ProducedFile> Follower::follow() {
    const auto& events = plan_.after.transcript.events();
    for (size_t index = 0; index < events.size(); index++) {
        const Event& event = events[index];
        if (event.verb == "write" || event.verb == "append") write(index, event);
        if (event.verb == "run" || event.verb == "pipe") run(index, event);
        if (event.verb == "remove") world_.files.erase(event.text), files_.erase(event.text);
        if (event.verb == "load") load(index);
        if (event.verb == "set") set(index, event);
        if (event.verb == "commit") commit();
    }
    std::vector<ProducedFile> produced;
    for (const std::string& path : produced_files(plan_)) {
        const std::string& content = *plan_.after.world.get(path);
        // What was not followed has no known places, but its content is certain.
        if (!files_.contains(path) || content_of(files_[path]) != content) restart(path, content);
        produced.push_back(std::move(files_[path]));
    }
    return produced;
}

}  // namespace

bool ProducedFile::binary() const {
    return std::ranges::any_of(
        lines, [](const FileLine& line) { return line.text.find('\0') != std::string::npos; });
}

bool ProducedFile::image() const {
    return path == working_copy || path == flash_image || path == factory_image;
}

std::vector<ProducedFile> produced_lines(const Plan& plan) {
    return Follower(plan).follow();
}
