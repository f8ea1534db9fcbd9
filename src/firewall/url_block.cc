// URL blocking: keywords in web requests, trusted hosts, the log of what is blocked. Chains BLOCK,
// ACL_BLOCK, OUT_FILTER, HTTP and CFILTER.

#include "core/nvram.h"
#include "core/text.h"
#include "firewall/firewall.h"
#include "firewall/rules.h"

namespace {

constexpr size_t mac_length = 17;
constexpr size_t keyword_limit = 127;

// Trusted computers, by MAC addresses one behind the other with bytes 0x01 between them.
void write_trusted(std::string_view group) {
    for (;;) {
        if (group.starts_with('\n') || group.size() < mac_length) return;
        group.remove_prefix(std::min(group.find_first_not_of('\x01'), group.size()));
        const std::string mac(cut(group, mac_length));
        fw_rule("-A OUT_FILTER -m mac --mac-source %s -j ACCEPT", mac.c_str());
        group.remove_prefix(mac.size());
        const size_t separator = group.find('\x01');
        if (separator == std::string_view::npos) return;
        group.remove_prefix(separator);
    }
}

void write_keywords(std::string_view list) {
    if (list.empty()) return;
    // Only data segments are searched.
    fw_rule("-A CFILTER -i %s -p tcp --dport 80 --tcp-flags ALL PSH,ACK -j HTTP",
            nvram_text("lan_if").text());
    while (!list.empty()) {
        const std::string keyword(cut(take_field(list, '\x01'), keyword_limit));
        if (!keyword.empty())
            fw_rule("-A HTTP -m string --string %s --algo kmp -j BLOCK", keyword.c_str());
    }
}

}  // namespace

void fw_url_block() {
    fw_rule("-A BLOCK -j LOG --log-level 4 --log-prefix \"[BLOCK]\"");
    // The kernel answers a web request with its block page.
    fw_rule("-A BLOCK -p tcp --dport 80 -j REJECT --reject-with http-block");
    if (nvram_text("log_access").on())
        fw_rule("-A ACL_BLOCK -j LOG --log-level 4 --log-prefix \"[ACCESS BLOCK]\"");
    if (nvram_text("fw_trustenable").on()) write_trusted(nvram_text("access_group").view());

    const Setting trusted = nvram_text("fw_block_trust");
    if (nvram_text("fw_block_trust_enable").on() && !trusted.empty())
        fw_rule("-A HTTP -s %s -j RETURN", trusted.text());

    const Setting filtering = nvram_text("fw_block");
    const bool by_schedule = filtering.view().starts_with('2') && schedule_character() == '1';
    if (filtering.on() || by_schedule) write_keywords(nvram_text("fw_block_keyword").view());
}
