// All actions of rc, from rc's own tables.

#include "plan/router/actions.h"

#include "rc/actions.h"
#include "rc/apps.h"

std::vector<std::vector<std::string>> all_actions() {
    std::vector<std::vector<std::string>> actions = {{"rc", "init"}};
    for (const char* action : app_action::of_wan) actions.push_back({"rc", "wan", action});
    for (const rc_app* list : {rc_apps, rc_services})
        for (const rc_app* app = list; app->name; app++)
            for (const char* action : app_action::all) actions.push_back({"rc", app->name, action});
    return actions;
}
