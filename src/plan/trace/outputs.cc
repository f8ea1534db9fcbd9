// The lines that a run hands to shells and leaves in files.

#include "plan/trace/outputs.h"

#include <set>

#include "core/text.h"
#include "plan/router/lines.h"

void for_each_output(
    const Plan& plan,
    const std::function<void(const std::string& place, std::string_view line)>& use) {
    std::set<std::string> written;
    const auto use_body = [&](const std::string& path, const std::string& body) {
        if (contains(body, std::string_view("\0", 1))) return;
        for (const std::string_view line : body_lines(body)) use(path, line);
    };
    for (const Event& event : plan.after.transcript.events()) {
        const bool file = event.verb == "write" || event.verb == "append";
        if (file) written.insert(event.text);
        if (event.depth > 0) continue;
        if (event.verb == "run" || event.verb == "pipe") use("command", event.text);
        if (file) use_body(event.text, event.body);
    }
    // What shell lines write.
    for (const std::string& path : produced_files(plan))
        if (!written.contains(path) && path != working_copy && path != flash_image)
            use_body(path, *plan.after.world.get(path));
}

Plan play_with(const World& router, const std::vector<std::string>& words, const std::string& key,
               const std::string& value) {
    World world = copy_of(router);
    change_setting(world, key, value);
    return make_plan(world, words);
}
