// Follows a run and keeps the files that it created or changed.

#include "plan/trace/produced.h"

std::vector<FollowedFile> produced_lines(const Plan& plan) {
    FileHistory history(plan.before);
    const auto& events = plan.after.transcript.events();
    for (size_t index = 0; index < events.size(); index++) history.follow(index, events[index]);

    std::vector<FollowedFile> produced;
    for (const std::string& path : produced_files(plan)) {
        const std::string& content = *plan.after.world.get(path);
        const FollowedFile* file = history.find(path);
        // Content that was not followed has no known places, but it is certain.
        const bool followed = file && file->content() == content;
        produced.push_back(followed ? *file : unfollowed_file(path, content));
    }
    return produced;
}
