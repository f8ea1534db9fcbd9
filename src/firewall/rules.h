// The rule script: /tmp/rules while it is being written.
#ifndef RC_FIREWALL_RULES_H
#define RC_FIREWALL_RULES_H

#include <stdarg.h>
#include <stddef.h>

#include <span>
#include <string_view>

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

    // Writes one line, "iptables " and the rule; some lines are kept together until the next do not
    // fit. Returns the line's length.
    [[gnu::format(printf, 2, 0)]] int add(const char* text, va_list arguments);

  private:
    static constexpr std::string_view command = "iptables ";

    void put_lines();
    // Composes behind the lines, with room for the command; where it ends, or the lines' size when
    // that is beyond them. The longest rule fits when there are no lines.
    [[gnu::format(printf, 2, 0)]] size_t compose_rule(const char* text, va_list arguments);

    File file_;
    size_t length_ = 0;
    char lines_[command.size() + rule_limit + 1] = {};
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
