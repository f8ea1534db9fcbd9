// The packet filter as `iptables -L` prints it: old versions have no -S, and small systems have no
// iptables-save.
#ifndef RC_PLAN_NETFILTER_LISTED_RULES_H
#define RC_PLAN_NETFILTER_LISTED_RULES_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "plan/netfilter/saved_rules.h"

// Each table's name and what `iptables -t TABLE -L -n -v -x` prints, of version 1.3 or later. A
// part of a rule that is not understood becomes the argument of a -m.
SavedRules read_listed_rules(const std::vector<std::pair<std::string, std::string_view>>& tables);

#endif
