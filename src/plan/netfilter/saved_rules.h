// The packet filter as a router prints it, and its rules in a form in which they can be compared.
#ifndef RC_PLAN_NETFILTER_SAVED_RULES_H
#define RC_PLAN_NETFILTER_SAVED_RULES_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "plan/netfilter/netfilter.h"

struct SavedRules {
    Netfilter tables;
    // The packets that each of a chain's rules has counted, by table and chain; empty if they were
    // not printed.
    std::map<std::pair<std::string, std::string>, std::vector<unsigned long long>> packets;
};

// The calls of iptables that make tables again.
class SavedCalls {
  public:
    void begin_table(const std::string& table) { table_ = table; }
    bool has_table() const { return !table_.empty(); }
    // A call's words, without the table.
    void add(const std::vector<std::string>& words);
    // The packets are nullopt if they were not printed.
    void add_rule(const std::string& chain, const std::vector<std::string>& words,
                  std::optional<unsigned long long> packets);
    SavedRules carry_out() const;

  private:
    std::string table_;
    std::vector<ExecutedCommand> calls_;
    std::vector<std::pair<std::pair<std::string, std::string>, unsigned long long>> packets_;
};

// What iptables-save(8) prints, with counters (-c) or without.
SavedRules read_saved_rules(std::string_view text);

// Equal for rules that do the same and were written with other words: by rc, by iptables-save, by
// `iptables -L`.
std::string canonical_text(const Rule& rule);

// Whether two firewalls have the same chains with the same policies and rules.
bool same_rules(const Netfilter& one, const Netfilter& other);

#endif
