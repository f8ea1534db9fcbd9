// The web interface's login, the clock, and settings that boot acts on.
#include "check/check_parts.h"
#include "core/text.h"
#include "sched/zone_offset.h"

namespace nvram {

namespace {

void check_password(Check& check) {
    const KnownSetting* const known = find_known("http_password");
    const std::string_view password = text_of(check, "http_password");
    const bool factory = known != nullptr && password == known->factory;
    if (!password.empty() && !factory) return;
    const bool remote = is_on(check, "fw_remote");
    const Level level = remote ? Level::Error : factory ? Level::Note : Level::Warning;
    std::string problem = factory ? "is the well-known factory password" : "is empty";
    if (remote) problem += ", and fw_remote=1 opens the web interface to the WAN";
    add(check, level, "http_password",
        {.problem = problem,
         .effect = factory ? "lets anyone log in who tries it"
                           : "deletes the password file, and the web interface asks for no login",
         .fix = "http_password=..."});
}

void check_user(Check& check) {
    if (text_of(check, "http_username").find(':') == std::string_view::npos) return;
    add(check, Level::Error, "http_username",
        {.problem = "contains a colon",
         .effect = "writes name:password into /tmp/htpasswd, where the first colon ends the name",
         .fix = "a name without a colon"});
}

// From 14 hours east of Greenwich, which the C library calls -14, to 12 hours west of it.
bool is_in_the_world(std::string_view zone) {
    const int hours = leading_int(zone.substr(4));
    return hours <= (zone[3] == '-' ? 14 : 12);
}

void check_clock(Check& check) {
    const std::string_view zone = text_of(check, "time_zone");
    if (!zone.empty() && offset_minutes(zone) && !is_in_the_world(zone))
        add(check, Level::Warning, "time_zone",
            {.problem = "is beyond the world's time zones, which go from GMT-14 to GMT+12",
             .effect = "sets TZ to it: the clock is off by as much",
             .fix = "time_zone=GMT-1"});
    if (zone.empty() || offset_minutes(zone)) return;
    const bool daylight = is_on(check, "time_daylight");
    add(check, daylight ? Level::Error : Level::Warning, "time_zone",
        {.problem = "has no sign after its first three letters",
         .effect = daylight ? "prints TimeZone string Error and uses no offset for daylight saving"
                            : "sets TZ to it, which without an offset means UTC",
         .fix = "time_zone=GMT-1"});
}

// A server that another host runs: on which side of the router does not matter.
struct Server {
    const char* key;
    Condition when;
    const char* effect;
};
constexpr Server servers[] = {
    {"ap_dns", if_on("ap_mode"), "makes itself its own name server, and no name resolves"},
    {"log_remote_ip", if_begins("log_type", "2"), "tells syslogd to send the log to the router"},
    {"wifi_radius_server", if_is("wifi_wep_on", "5 6"),
     "tells the RADIUS client to ask the router, where no server answers"},
};

void check_servers(Check& check) {
    const std::string_view own = text_of(check, "lan_ipaddr");
    for (const Server& server : servers)
        if (!own.empty() && text_of(check, server.key) == own && holds(check, server.when))
            add(check, Level::Error, server.key,
                {.problem = "is the router's own address",
                 .effect = server.effect,
                 .fix = "the address of the host that runs the server"});
}

void check_boot(Check& check) {
    if (!is_on(check, "restore_default")) return;
    add(check, Level::Warning, "restore_default",
        {.problem = "is on",
         .effect = "restores the factory settings at every boot",
         .fix = "restore_default=0"});
}

// One note names all settings that another one leaves without effect.
void check_idle(Check& check, const char* key, const char* problem, const std::string& idle) {
    if (idle.empty()) return;
    add(check, Level::Note, key,
        {.problem = problem, .effect = "makes no use of: " + idle, .fix = ""});
}

void append_key(std::string& keys, const char* key) {
    if (!keys.empty()) keys += ", ";
    keys += key;
}

void check_access_point(Check& check) {
    if (!is_on(check, "ap_mode")) return;
    std::string idle;
    for (const SettingGroup& group : setting_groups())
        for (const KnownSetting& known : group.settings)
            if (is_of_firewall(known) && known.key != std::string_view("fw_services_def") &&
                text_of(check, known.key) != known.factory)
                append_key(idle, known.key);
    check_idle(check, "ap_mode", "makes the device an access point, which starts no firewall",
               idle);
}

void check_radio_off(Check& check) {
    if (!begins_with(check, "wifi_dot11_mode", '0')) return;
    std::string idle;
    for (const char* const key : {"enable_ssid2", "wds_enable", "h_wsc_enable"})
        if (is_on(check, key)) append_key(idle, key);
    check_idle(check, "wifi_dot11_mode", "turns the radio off", idle);
}

void check_mail_off(Check& check) {
    if (is_on(check, "mail_enable")) return;
    std::string idle;
    for (const char* const key : {"mail_logfull", "mail_dos", "mail_portscan", "mail_block"})
        if (is_on(check, key)) append_key(idle, key);
    if (idle.empty()) return;
    add(check, Level::Note, "mail_enable",
        {.problem = "is off, so no mail is sent",
         .effect = "tells syslogd so, which then makes no use of: " + idle,
         .fix = "mail_enable=1"});
}

void check_log_mail(Check& check) {
    const std::string_view when = text_of(check, "mail_sendlog");
    if (when != "2" && when != "3" && when != "4") return;
    if (is_on(check, "mail_enable")) return;
    add(check, Level::Note, "mail_sendlog",
        {.problem = "schedules mail, but mail_enable is off",
         .effect = "makes cron signal syslogd, which mails nothing",
         .fix = "mail_enable=1"});
}

}  // namespace

void check_services(Check& check) {
    check_password(check);
    check_user(check);
    check_clock(check);
    check_servers(check);
    check_boot(check);
    check_log_mail(check);
    check_mail_off(check);
    check_access_point(check);
    check_radio_off(check);
}

}  // namespace nvram
