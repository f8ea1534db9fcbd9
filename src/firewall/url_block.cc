// URL blocking: keywords in web requests, trusted hosts, the log of what is blocked. Chains BLOCK,
// ACL_BLOCK, OUT_FILTER, HTTP and CFILTER.

#include <string>

#include "core/nvram.h"
#include "firewall/block_lists.h"
#include "firewall/firewall.h"
#include "firewall/rules.h"
#include "sched/sched.h"

namespace {

// Read together before the first rule.
struct UrlBlockSettings {
    bool log = nvram_text("log_access").on();
    bool trusts_macs = nvram_text("fw_trustenable").on();
    Setting macs = nvram_text("access_group");
    bool trusts_host = nvram_text("fw_block_trust_enable").on();
    Setting host = nvram_text("fw_block_trust");
    Setting filtering = nvram_text("fw_block");
    Setting keywords = nvram_text("fw_block_keyword");
    Setting lan_if = nvram_text("lan_if");
    char schedule = schedule_character();
};

void write_trusted(const std::vector<std::string_view>& macs) {
    for (const std::string_view mac : macs)
        fw_rule("-A OUT_FILTER -m mac --mac-source %s -j ACCEPT", std::string(mac).c_str());
}

void write_keywords(const std::vector<std::string_view>& keywords) {
    for (const std::string_view keyword : keywords)
        fw_rule("-A HTTP -m string --string %s --algo kmp -j BLOCK", std::string(keyword).c_str());
}

}  // namespace

void fw_url_block() {
    const UrlBlockSettings from;
    fw_rule("-A BLOCK -j LOG --log-level 4 --log-prefix \"[BLOCK]\"");
    // The kernel answers a web request with its block page.
    fw_rule("-A BLOCK -p tcp --dport 80 -j REJECT --reject-with http-block");
    if (from.log) fw_rule("-A ACL_BLOCK -j LOG --log-level 4 --log-prefix \"[ACCESS BLOCK]\"");
    if (from.trusts_macs) write_trusted(parse_trusted_macs(from.macs.view()));
    if (from.trusts_host && !from.host.empty())
        fw_rule("-A HTTP -s %s -j RETURN", from.host.text());

    const bool by_schedule = from.filtering.view().starts_with('2') && from.schedule == '1';
    if ((!from.filtering.on() && !by_schedule) || from.keywords.empty()) return;
    // Only data segments are searched.
    fw_rule("-A CFILTER -i %s -p tcp --dport 80 --tcp-flags ALL PSH,ACK -j HTTP",
            from.lan_if.text());
    write_keywords(parse_keywords(from.keywords.view()));
}
