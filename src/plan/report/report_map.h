// The chains of a table of the packet filter as a drawing.
#ifndef RC_PLAN_REPORT_REPORT_MAP_H
#define RC_PLAN_REPORT_REPORT_MAP_H

#include <set>
#include <string>
#include <string_view>

#include "plan/netfilter/netfilter.h"

// The id of the section with a chain's rules.
std::string chain_id(std::string_view table, std::string_view name);

// SVG for an HTML page: chains as nodes that link to chain_id, jumps as arrows, each with the
// numbers of its rules. Empty if Graphviz cannot lay it out.
// Those of `from_wan` are marked.
using ChainNames = std::set<std::pair<std::string, std::string>>;
std::string chain_map(const Netfilter& tables, std::string_view table,
                      const ChainNames& from_wan = {});

#endif
