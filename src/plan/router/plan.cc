// Plans: playing rc once over a copy of a router.

#include "plan/router/plan.h"

World copy_of(const World& world) {
    World copy = world;
    for (auto& [path, content] : copy.files) content = std::make_shared<std::string>(*content);
    return copy;
}

World router_with(const World& world, const Settings& settings,
                  const std::vector<std::string>& words) {
    World router = copy_of(world);
    router.put(factory_image, settings_image(settings));
    if (words.size() < 2 || words[1] != "init") router.put(working_copy, settings_image(settings));
    return router;
}

Plan make_plan(const World& router, const std::vector<std::string>& words) {
    Plan plan;
    plan.words = words;
    plan.before = copy_of(router);
    plan.after.world = copy_of(router);
    plan.status = play(plan.after, words);
    return plan;
}

std::vector<std::string> produced_files(const Plan& plan) {
    std::vector<std::string> paths;
    for (const auto& [path, content] : plan.after.world.files) {
        if (path.starts_with("/proc/") || path.starts_with("/dev/")) continue;
        const std::string* before = plan.before.get(path);
        if (!before || *before != *content) paths.push_back(path);
    }
    return paths;
}

Place place_of(const Plan& plan, const Origin& origin) {
    const Event& event = plan.after.transcript.events().at(origin.event);
    if (origin.line == 0) return {.file = "", .line = 0, .text = event.text};
    const std::vector<std::string_view> lines = body_lines(event.body);
    return {
        .file = event.text, .line = origin.line, .text = std::string(lines.at(origin.line - 1))};
}
