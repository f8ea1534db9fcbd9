// The rule script: /tmp/rules while it is being written.
#ifndef RC_FIREWALL_RULES_H
#define RC_FIREWALL_RULES_H

#include <stdarg.h>
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

    // Writes one line, "iptables " and the rule. Returns the line's length.
    [[gnu::format(printf, 2, 0)]] int add(const char* text, va_list arguments);

  private:
    File file_;
};

// Writes one line into the current script, as its add does; -1 without one.
[[gnu::format(printf, 1, 2)]] int fw_rule(const char* text, ...);

// Writes each rule of a table, with name in place of "%s".
void fw_rules(std::span<const char* const> table, const char* name);

// The opening of the script: chains, hooks, policies, basic rules.
void fw_init();

// What keeps floods off the router. Only the WAN interface is named.
extern const std::span<const char* const> dos_rules;

#endif
