// Features that are on, and the settings that they cannot do without.
#include "check/check_parts.h"

namespace nvram {

namespace {

enum class Test : std::uint8_t { Always, Is, Begins, BeginsNot };

struct Condition {
    Test test = Test::Always;
    const char* key = "";
    std::string_view text = {};
};

// A setting that may not be missing when both conditions hold.
struct Need {
    Condition when;
    Condition also;
    const char* key;
    // What may be written, as an example.
    const char* example;
    Level level = Level::Error;
    // What rc does without it, where that is not what the table says of the empty value.
    const char* effect = nullptr;
};

constexpr Condition mode(std::string_view name) {
    return {Test::Is, "wan_mode", name};
}

constexpr Condition on(const char* key) {
    return {Test::Begins, key, "1"};
}

constexpr const char* no_address = "gives the port no address";

constexpr Need needs[] = {
    {on("ap_mode"), {}, "ap_gateway", "192.168.1.254", Level::Note},
    {on("ap_mode"), {}, "ap_dns", "192.168.1.254", Level::Note},

    {{Test::Is, "log_type", "2"}, {}, "log_remote_ip", "192.168.1.10"},
    {on("mail_enable"), {}, "mail_server", "mail.example.com"},
    {on("mail_enable"), {}, "mail_recipient", "me@example.com"},
    {on("mail_enable"), {}, "mail_sender", "router@example.com", Level::Warning},
    {on("mail_enable"), on("mail_enable_auth"), "mail_login", "router"},
    {on("mail_enable"), on("mail_enable_auth"), "mail_password", "..."},
    {{Test::BeginsNot, "ntp_custom", "0"}, {}, "ntp_server", "pool.ntp.org"},

    {mode("ip"), {}, "fix_ipaddr", "203.0.113.2", Level::Error, no_address},
    {mode("ip"), {}, "fix_gateway", "203.0.113.1", Level::Error, "sets no default route"},
    {mode("pppoe"), {}, "pppoe_username", "name"},
    {mode("pppoe"), {}, "pppoe_password", "..."},
    {mode("pppoe"), {Test::Begins, "wan_iptype_pppoe", "F"}, "pppoe_ipaddr", "203.0.113.2"},
    {mode("pptp"), {}, "pptp_username", "name"},
    {mode("pptp"), {}, "pptp_password", "..."},
    {mode("pptp"), {Test::BeginsNot, "pptp_server_type", "d"}, "pptp_server", "203.0.113.1"},
    {mode("pptp"),
     {Test::Begins, "pptp_server_type", "d"},
     "pptp_server_domain",
     "vpn.example.com"},
    {mode("pptp"), on("pptp_type"), "pptp_ipaddr", "10.0.0.2", Level::Error, "does not dial"},
    {mode("pptp"), on("pptp_type"), "pptp_fix_gateway", "10.0.0.1", Level::Error,
     "has no way to the server"},
    {mode("pptp"), on("pptp_type"), "pptp_wan_dns1", "10.0.0.1", Level::Warning},
    {mode("l2tp"), {}, "l2tp_username", "name"},
    {mode("l2tp"), {}, "l2tp_password", "..."},
    {mode("l2tp"), {}, "l2tp_server", "lns.example.com"},
    {mode("l2tp"), on("l2tp_type"), "l2tp_ipaddr", "10.0.0.2", Level::Error, "does not dial"},
    {mode("bpa"), {}, "bpa_username", "name"},
    {mode("bpa"), {}, "bpa_password", "..."},
    {on("wan_fix_dns"), {}, "wan_dns1", "203.0.113.53", Level::Warning},

    {{Test::BeginsNot, "ddns_enable", "0"}, {}, "ddns_service_provider", "dyndns"},
    {{Test::BeginsNot, "ddns_enable", "0"}, {}, "ddns_user_name", "name"},
    {{Test::BeginsNot, "ddns_enable", "0"}, {}, "ddns_password", "..."},
    {{Test::BeginsNot, "ddns_enable", "0"}, {}, "ddns_host_name", "router.example.com"},

    {on("fw_remote"), {Test::Begins, "fw_remote_type", "1"}, "fw_remote_single", "203.0.113.9"},
    {on("fw_remote"),
     {Test::Begins, "fw_remote_type", "2"},
     "fw_remote_range_start",
     "203.0.113.8"},
    {on("fw_remote"), {Test::Begins, "fw_remote_type", "2"}, "fw_remote_range_end", "203.0.113.15"},
    {on("fw_dmz_enable"), {}, "fw_dmz", "192.168.1.100"},
    {on("fw_block_trust_enable"), {}, "fw_block_trust", "192.168.1.100", Level::Warning},
    {on("fw_trustenable"), {}, "access_group", "00:11:22:33:44:55", Level::Warning},
    {on("fw_block"), {}, "fw_block_keyword", "keyword", Level::Warning},
    {{Test::Begins, "fw_block", "2"}, {}, "fw_block_keyword", "keyword", Level::Warning},
    {{Test::Is, "ac_control", "2"}, {}, "access_control", "....HTTP", Level::Warning},
    {on("qos_enable"),
     {},
     "wan_bandwidth",
     "2000",
     Level::Error,
     "computes rates of 0, which tc refuses"},
    {on("qos_enable"), {}, "qos", "a list of rules", Level::Note},

    {{Test::Is, "wireless_sch_en", "enable"}, {}, "wl_schedule", "1:8:0-18:0", Level::Warning},
    {on("wifi_access_control"),
     {},
     "wifi_access_list",
     "00:11:22:33:44:55",
     Level::Warning,
     "lets nobody join"},
    {{Test::Is, "wifi_wep_on", "5"}, {}, "wifi_radius_server", "192.168.1.20"},
    {{Test::Is, "wifi_wep_on", "5"}, {}, "wifi_radius_pwd", "..."},
    {{Test::Is, "wifi_wep_on", "6"}, {}, "wifi_radius_server", "192.168.1.20"},
    {{Test::Is, "wifi_wep_on", "6"}, {}, "wifi_radius_pwd", "..."},
    {on("wifi_ap_mode"), {Test::Begins, "ap_mode", "0"}, "sta_ssid", "network"},
};

bool holds(const Check& check, const Condition& condition) {
    const std::string_view text = text_of(check, condition.key);
    switch (condition.test) {
        case Test::Always:
            break;
        case Test::Is:
            return text == condition.text;
        case Test::Begins:
            return text.starts_with(condition.text);
        case Test::BeginsNot:
            return !text.starts_with(condition.text);
    }
    return true;
}

// 0 is no rate, as 0.0.0.0 is no address.
bool is_nothing(const Check& check, const KnownSetting& known) {
    if (is_missing(check, known.key)) return true;
    return known.form == Form::Number && text_of(check, known.key) == "0";
}

}  // namespace

void check_needs(Check& check) {
    for (const Need& need : needs) {
        const KnownSetting* const known = find_known(need.key);
        if (known == nullptr || !is_nothing(check, *known)) continue;
        if (!holds(check, need.when) || !holds(check, need.also)) continue;
        const std::string_view value = text_of(check, need.key);
        std::string reasons = assignment(need.when.key, text_of(check, need.when.key));
        if (need.also.test != Test::Always)
            reasons += " with " + assignment(need.also.key, text_of(check, need.also.key));
        add(check, need.level, need.key,
            {.problem = "is " + (value.empty() ? "empty" : std::string(value)) + ", and " +
                        reasons + " needs it",
             .effect = need.effect != nullptr ? need.effect : known->when_empty,
             .cure = assignment(need.key, need.example)});
    }
}

}  // namespace nvram
