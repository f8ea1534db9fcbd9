// All actions of rc.
#ifndef RC_PLAN_ROUTER_ACTIONS_H
#define RC_PLAN_ROUTER_ACTIONS_H

#include <string>
#include <vector>

// Each application of both tables and the Internet side with each action, and the boot: argument
// lists, argv[0] first. Groups are left out: they run their applications one after the other.
std::vector<std::vector<std::string>> all_actions();

#endif
