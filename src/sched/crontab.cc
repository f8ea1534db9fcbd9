// The crontab: daily jobs, log mail, and the starts and ends of all schedules' periods. Writes
// /var/crontab.

#include "core/command.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "sched/sched.h"

namespace {

void write_schedules(const char* app, const Setting& list, File& crontab) {
    for (std::string_view rest = list.view(); !rest.empty();)
        create_schedule(app, take_record(rest), crontab);
}

// A SIGHUP makes syslogd send its mail.
void write_log_mail(File& crontab) {
    const Setting when = nvram_text("mail_sendlog");
    const Setting hour = nvram_text("mail_sh_hour");
    if (when.is("2")) crontab.print("0 * * * * root killall -1 syslogd\n");
    if (when.is("3")) crontab.print("0 %s * * * root killall -1 syslogd\n", hour.text());
    if (when.is("4"))
        crontab.print("0 %s * * %s root killall -1 syslogd\n", hour.text(),
                      nvram_text("mail_sh_day").text());
}

void write_wan_jobs(File& crontab) {
    const Setting summer_time = nvram_text("time_daylight");
    if (summer_time.on()) crontab.print("DAYLIGHT=%s\n", summer_time.text());
    crontab.print("TZ=%s\n\n", nvram_text("time_zone").text());
    crontab.print("0 12 * * * root /usr/sbin/rc ddns start\n");
    crontab.print("30 12 * * * root /usr/sbin/rc ntp restart\n");
    // pppd supervises its links itself. At present no program implements check_conn.
    if (!nvram_text("wan_mode").view().starts_with('p'))
        crontab.print("0-59 * * * * root /usr/sbin/rc check_conn start\n");
    write_schedules("firewall", nvram_text("fw_schedule"), crontab);
    write_schedules("firewall", nvram_text("fw_schedule2"), crontab);
    write_log_mail(crontab);
}

}  // namespace

void create_schedule(const char* app, std::string_view record, File& crontab) {
    const std::optional<SchedulePeriod> period = parse_period(record);
    if (!period) return;
    const std::string day(period->day_text);
    const std::string_view name = app;
    const bool wlan = name == "wlan";

    crontab.print("%d %d * * ", period->start_minute, period->start_hour);
    const bool off_all_day = period->start_hour == 0 && period->start_minute == 0 &&
                             period->end_hour == 0 && period->end_minute == 0;
    const char* at_start = !wlan ? "start" : off_all_day ? "stop" : "restart";
    crontab.print("%s root /usr/sbin/rc %s %s\n", day.c_str(), app, at_start);

    // cron has no hour 24; the firewall's line keeps it and so never runs.
    const bool end_of_day = wlan && period->end_hour == 24;
    crontab.print("%d %d * * ", end_of_day ? 59 : period->end_minute,
                  end_of_day ? 23 : period->end_hour);
    // At the end of a period the firewall is started again too, and then evaluates its schedule.
    crontab.print("%s root /usr/sbin/rc %s %s\n", day.c_str(), app,
                  name == "firewall" ? "start" : "stop");
}

int create_crontab() {
    // The copy is overwritten at once; the order is part of rc's behaviour.
    SYSTEM("/bin/cp /etc/crontab /var/crontab");
    File crontab = open_file("/var/crontab", "w");
    if (!crontab) return 0;

    if (platform::file_exists("/tmp/wan_uptime")) write_wan_jobs(crontab);
    const Setting wireless = nvram_text("wl_schedule");
    if (nvram_text("wireless_sch_en").is("enable")) write_schedules("wlan", wireless, crontab);
    return 0;
}
