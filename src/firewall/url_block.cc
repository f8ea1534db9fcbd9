// URL blocking: keywords in web requests, trusted hosts, the log of what is blocked. Chains BLOCK,
// ACL_BLOCK, OUT_FILTER, HTTP and CFILTER.

#include <string>

#include "core/nvram.h"
#include "firewall/block_lists.h"
#include "firewall/firewall.h"
#include "firewall/rules.h"
#include "sched/sched.h"

namespace {

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
    fw_rule("-A BLOCK -j LOG --log-level 4 --log-prefix \"[BLOCK]\"");
    // The kernel answers a web request with its block page.
    fw_rule("-A BLOCK -p tcp --dport 80 -j REJECT --reject-with http-block");
    if (nvram_text("log_access").on())
        fw_rule("-A ACL_BLOCK -j LOG --log-level 4 --log-prefix \"[ACCESS BLOCK]\"");
    const Setting group = nvram_text("access_group");
    if (nvram_text("fw_trustenable").on()) write_trusted(parse_trusted_macs(group.view()));

    const Setting trusted = nvram_text("fw_block_trust");
    if (nvram_text("fw_block_trust_enable").on() && !trusted.empty())
        fw_rule("-A HTTP -s %s -j RETURN", trusted.text());

    const Setting filtering = nvram_text("fw_block");
    const bool by_schedule = filtering.view().starts_with('2') && schedule_character() == '1';
    const Setting keywords = nvram_text("fw_block_keyword");
    if ((!filtering.on() && !by_schedule) || keywords.empty()) return;
    // Only data segments are searched.
    fw_rule("-A CFILTER -i %s -p tcp --dport 80 --tcp-flags ALL PSH,ACK -j HTTP",
            nvram_text("lan_if").text());
    write_keywords(parse_keywords(keywords.view()));
}
