// The rule script: /tmp/rules while it is being written.
#ifndef RC_FIREWALL_RULES_H
#define RC_FIREWALL_RULES_H

#include <stdarg.h>
#include <stddef.h>

#include <span>

#include "core/file.h"

// The longest rule; the rest is cut off.
constexpr size_t rule_limit = 4095;

// Opens /tmp/rules and makes it the current script, as long as this object lives. Rules written
// when the file could not be opened, or when there is no current script, are discarded.
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

// Writes one line into the current script, as its add does; -1 if there is no current script.
[[gnu::format(printf, 1, 2)]] int fw_rule(const char* text, ...);

// Writes each rule of a table, with "%s" replaced by name.
void fw_rules(std::span<const char* const> table, const char* name);

// The first part of the script: chains, hooks, policies, basic rules.
void fw_init();

// The rules that protect the router against floods. They name only the WAN interface.
extern const std::span<const char* const> dos_rules;

#endif
