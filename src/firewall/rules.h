// The rule script: /tmp/rules while it is being written.
#ifndef RC_FIREWALL_RULES_H
#define RC_FIREWALL_RULES_H

#include <stddef.h>

#include <span>

#include "core/file.h"

// The longest rule; the rest is cut off.
constexpr size_t rule_limit = 4095;

// Opens /tmp/rules and makes it the current script as long as this lives. Rules that are written
// while it could not be opened, or while there is none, are swallowed.
class RuleScript {
  public:
    RuleScript();
    ~RuleScript();
    RuleScript(const RuleScript&) = delete;
    RuleScript& operator=(const RuleScript&) = delete;

  private:
    File file_;
};

// Writes one line, "iptables " and the rule. Returns what the write returns.
[[gnu::format(printf, 1, 2)]] int fw_rule(const char* text, ...);

// Writes each rule of a table, with name in place of "%s".
void fw_rules(std::span<const char* const> table, const char* name);

// The opening of the script: chains, hooks, policies, basic rules.
void fw_init();

// What keeps floods off the router. Only the WAN interface is named.
extern const std::span<const char* const> dos_rules;

#endif
