// The system log and its mail alerts. Writes /tmp/syslog.conf; makes the running syslogd reread it.

#include <arpa/inet.h>

#include "core/command.h"
#include "core/file.h"
#include "core/ipv4.h"
#include "core/limits.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/text.h"
#include "lan/lan.h"

namespace {

in_addr_t address_bits(const char* text) {
    return scan_address(text).value_or(in_addr{}).s_addr;
}

// The LAN's broadcast address.
std::string broadcast_address() {
    const in_addr broadcast = {address_bits(nvram_value("lan_ipaddr").text()) |
                               ~address_bits(nvram_value("lan_netmask").text())};
    char quad[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &broadcast, quad, sizeof quad);
}

const char* when(const char* flag, const char* word) {
    return nvram_text(flag).on() ? word : "";
}

void write_mail(File& conf) {
    conf.print("mail_sender=%s\n", nvram_text("mail_sender").text());
    conf.print("log_enable=%s\n", nvram_text("log_enable").text());
    conf.print("mail_enable=%s\n", nvram_text("mail_enable").text());
    conf.print("mail_enable_auth=%s\n", nvram_text("mail_enable_auth").text());
    conf.print("mail_log_full=%s\n", nvram_text("mail_logfull").text());
    conf.print("mail_server=%s\n", nvram_text("mail_server").text());
    conf.print("mail_receiver=%s\n", nvram_text("mail_recipient").text());
    conf.print("mail_login=%s\n", nvram_text("mail_login").text());
    conf.print("mail_password=%s\n", nvram_text("mail_password").text());

    const Setting title = nvram_text("mail_title");
    const std::string subject(title.empty() ? std::string_view("Security Log")
                                            : cut(title.view(), limits::mail_subject));
    conf.print("mail_subject=%s\n", subject.c_str());
    conf.print("mail_subject_alert=Alert! %s\n", subject.c_str());
    conf.print("mail_keyword=%s %s %s\n", when("mail_dos", "[DOS]"),
               when("mail_portscan", "[PORT SCAN]"), when("mail_block", "[BLOCK]"));
}

void write_log(File& conf) {
    conf.print("TZ=%s\n", nvram_text("time_zone").text());
    conf.print("daylight=%s\n", nvram_text("time_daylight").text());
    const char remote = nvram_value("log_type").text()[0];
    if (remote == '1') conf.print("log_remote_ip=%s\n", broadcast_address().c_str());
    if (remote == '2') conf.print("log_remote_ip=%s\n", nvram_text("log_remote_ip").text());
    conf.print("log_auth=%s\n", nvram_text("log_login").text());
    conf.print("log_syslog=%s\n", nvram_text("log_gateway").text());

    const bool dos = nvram_text("log_dos").on();
    const bool block = nvram_text("log_block").on();
    if (dos || block) {
        conf.print("log_local0=1\n");
        conf.print("log_keyword=%s %s\n", dos ? "[DOS] [PORT SCAN]" : "", block ? "[BLOCK]" : "");
    }
}

}  // namespace

int create_syslog() {
    File conf = open_secret_file("/tmp/syslog.conf", "w+");
    if (!conf) return -1;
    write_mail(conf);
    write_log(conf);
    return 0;
}

int start_syslog() {
    create_syslog();
    platform::sleep_microseconds(1);
    SYSTEM("/usr/bin/killall -SIGUSR2 syslogd");
    return 0;
}

// The daemon belongs to the firmware and always runs.
int stop_syslog() {
    return 0;
}
