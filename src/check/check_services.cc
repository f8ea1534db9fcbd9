// The web interface's login, the clock, and settings that boot acts on.
#include "check/check_parts.h"
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

void check_clock(Check& check) {
    const std::string_view zone = text_of(check, "time_zone");
    if (zone.empty() || offset_minutes(zone)) return;
    const bool daylight = is_on(check, "time_daylight");
    add(check, daylight ? Level::Error : Level::Warning, "time_zone",
        {.problem = "has no sign after its first three letters",
         .effect = daylight ? "prints TimeZone string Error and uses no offset for daylight saving"
                            : "sets TZ to it, which without an offset means UTC",
         .fix = "time_zone=GMT-1"});
}

void check_boot(Check& check) {
    if (!is_on(check, "restore_default")) return;
    add(check, Level::Warning, "restore_default",
        {.problem = "is on",
         .effect = "restores the factory settings at every boot",
         .fix = "restore_default=0"});
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
    check_boot(check);
    check_log_mail(check);
}

}  // namespace nvram
