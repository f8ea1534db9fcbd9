// What the command line can ask of an application or a group.
#ifndef RC_RC_ACTIONS_H
#define RC_RC_ACTIONS_H

namespace app_action {

constexpr const char* start = "start";
constexpr const char* stop = "stop";
constexpr const char* restart = "restart";
constexpr const char* create = "create";

constexpr const char* all[] = {start, stop, restart, create};

// The Internet side has no files of its own to create.
constexpr const char* of_wan[] = {start, stop, restart};

}  // namespace app_action

#endif
