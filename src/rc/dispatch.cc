// One action on one application, or on every application of a list.

#include <string.h>

#include <string_view>

#include "core/platform.h"
#include "core/run_markers.h"
#include "rc/rc.h"

namespace {

int walk(const rc_app* list, const char* name, Handler rc_app::*handler) {
    for (const rc_app* app = list; app->name; app++) {
        if (!(app->*handler)) continue;
        if (name && strcmp(app->name, name) != 0) continue;
        if ((app->*handler)() < 0) return -1;
        if (name) return 0;
        platform::sleep_microseconds(1);
    }
    return name ? 1 : 0;
}

}  // namespace

int rc_start(const rc_app* list, const char* name) {
    return walk(list, name, &rc_app::start);
}

int rc_stop(const rc_app* list, const char* name) {
    return walk(list, name, &rc_app::stop);
}

int rc_create(const rc_app* list, const char* name) {
    return walk(list, name, &rc_app::create);
}

int rc_action(const rc_app* list, const char* name, const char* action) {
    if (rc_add_running(name) != 0) return 0;

    const std::string_view wanted = action;
    int result = 0;
    if (wanted == "start") {
        result = rc_start(list, name);
    } else if (wanted == "stop") {
        result = rc_stop(list, name);
    } else if (wanted == "restart") {
        // The two results are combined bitwise: 0 if either is 0. So an application without a stop
        // handler (1) that starts (0) counts as done, and so does one of which only one half failed
        // (-1).
        const int stopped = rc_stop(list, name);
        result = stopped & rc_start(list, name);
    } else if (wanted == "create") {
        result = rc_create(list, name);
    } else {
        rc_remove_marker(name);
        rc_usage();
        return usage_printed;
    }
    rc_remove_marker(name);
    return result;
}
