// The writer of the rule script, and the script's fixed first part.

#include "firewall/rules.h"

#include <string.h>

#include <algorithm>

#include "core/nvram.h"
#include "core/text.h"

namespace {

// The script that rules are written to; null while no RuleScript exists.
RuleScript* current_script = nullptr;

constexpr std::string_view command = "iptables ";

struct Chain {
    const char* table;
    const char* name;
};

constexpr Chain chains[] = {
    {"nat", "PRE_BASIC"},
    {"nat", "DNS"},
    {"nat", "PRE_PROXY"},
    {"nat", "UPNP"},
    {"nat", "PT"},
    {"nat", "NAPT"},
    {"nat", "PF"},
    {"nat", "VS"},
    {"nat", "DMZ"},
    {"filter", "DOS"},
    {"filter", "PROXY"},
    {"filter", "LOCAL_SERVICE"},
    {"filter", "OUT_FILTER"},
    {"filter", "CFILTER"},
    {"filter", "HTTP"},
    {"filter", "BLOCK"},
    {"filter", "ACL_BLOCK"},
    {"filter", "IN_FILTER"},
    {"filter", "FW_UPNP"},
    {"filter", "FW_BASIC"},
};

// There is no jump to DNS here: a rule of PRE_BASIC jumps there. Packets with the mark 0x2511 have
// been accepted elsewhere.
constexpr const char* base_rules[] = {
    "-t nat -A PREROUTING -j PRE_BASIC",
    "-t nat -A PREROUTING -j PRE_PROXY",
    "-t nat -A PREROUTING -j UPNP",
    "-t nat -A PREROUTING -j PT",
    "-t nat -A PREROUTING -j NAPT",
    "-t nat -A PREROUTING -j PF",
    "-t nat -A PREROUTING -j VS",
    "-t nat -A PREROUTING -j DMZ",
    "-P INPUT DROP",
    "-A INPUT -i lo -j ACCEPT",
    "-A INPUT -m state --state ESTABLISHED,RELATED -j ACCEPT",
    "-A INPUT -p tcp --syn -j DOS",
    "-A INPUT -p udp -j DOS",
    "-A INPUT -p icmp --icmp-type echo-request -j DOS",
    "-A INPUT -j PROXY",
    "-A INPUT -j LOCAL_SERVICE",
    "-P FORWARD DROP",
    "-A FORWARD -j CFILTER",
    "-A FORWARD -j OUT_FILTER",
    "-A FORWARD -j FW_BASIC",
    "-A FORWARD -j IN_FILTER",
    "-A FORWARD -j FW_UPNP",
    "-A FW_BASIC -i lo -j ACCEPT",
    "-A FW_BASIC -p tcp --tcp-flags SYN,RST SYN -j TCPMSS --clamp-mss-to-pmtu",
    "-A FW_BASIC -m state --state ESTABLISHED,RELATED -j ACCEPT",
    "-A FW_BASIC -m mark --mark 0x2511 -j ACCEPT",
    "-A LOCAL_SERVICE -m mark --mark 0x2511 -j ACCEPT",
};

// Inserted at the head of INPUT, before the DoS limits, which do not apply to the LAN.
constexpr const char* lan_rules[] = {
    "-I INPUT -i %s -j ACCEPT",
    "-A FW_BASIC -i %s -j ACCEPT",
};

// Packets from the LAN and link-layer broadcasts are exempt; packets within the limits return to
// INPUT; the rest is logged, at most 100 lines a second, and dropped.
constexpr const char* dos_table[] = {
    "-A DOS -i ! %s -j RETURN",
    "-A DOS -m mac --mac-dest ff:ff:ff:ff:ff:ff -j RETURN",
    "-A DOS -p tcp --syn -m limit --limit 100/s --limit-burst 100 -j RETURN",
    "-A DOS -p udp -m limit --limit 100/s --limit-burst 100 -j RETURN",
    "-A DOS -p icmp --icmp-type echo-request -m limit --limit 5/s --limit-burst 60 -j RETURN",
    "-A DOS -m limit --limit 100/s -j LOG --log-level 4 --log-prefix \"[DOS] \"",
    "-A DOS -j DROP",
};

}  // namespace

const std::span<const char* const> dos_rules = dos_table;

RuleScript::RuleScript() : file_(open_file("/tmp/rules", "w")) {
    current_script = file_ ? this : nullptr;
}

RuleScript::~RuleScript() {
    current_script = nullptr;
}

int RuleScript::add(const char* text, va_list arguments) {
    char line[command.size() + rule_limit + sizeof "\n"];
    memcpy(line, command.data(), command.size());
    char* const rule = line + command.size();
    const size_t length = std::min(compose(rule, rule_limit + 1, text, arguments), rule_limit);
    rule[length] = '\n';
    return file_.put({line, rule + length + 1});
}

int fw_rule(const char* text, ...) {
    if (!current_script) return -1;
    va_list arguments;
    va_start(arguments, text);
    const int written = current_script->add(text, arguments);
    va_end(arguments);
    return written;
}

void fw_rules(std::span<const char* const> table, const char* name) {
    for (const std::string_view text : table) {
        const size_t place = text.find("%s");
        const std::string before(text.substr(0, place));
        if (place == std::string_view::npos)
            fw_rule("%s", before.c_str());
        else
            fw_rule("%s%s%s", before.c_str(), name, text.data() + place + 2);
    }
}

void fw_init() {
    fw_rule("-t nat -F");
    fw_rule("-t filter -F");
    for (const Chain& chain : chains) {
        fw_rule("-t %s -X %s", chain.table, chain.name);
        fw_rule("-t %s -N %s", chain.table, chain.name);
    }
    for (const char* rule : base_rules) fw_rule("%s", rule);
    // Without NAT, forwarding is open in both directions.
    if (!nvram_text("fw_nat").on()) fw_rule("-P FORWARD ACCEPT");
    fw_rules(lan_rules, nvram_value("lan_if").or_when_absent("br0").text());
}
