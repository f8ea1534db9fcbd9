// The actions on an application or a group, as the command line names them.
#ifndef RC_RC_ACTIONS_H
#define RC_RC_ACTIONS_H

namespace app_action {

constexpr const char* start = "start";
constexpr const char* stop = "stop";
constexpr const char* restart = "restart";
constexpr const char* create = "create";

constexpr const char* all[] = {start, stop, restart, create};

// "rc wan" has no create: the WAN writes its files when it starts.
constexpr const char* of_wan[] = {start, stop, restart};

}  // namespace app_action

#endif
