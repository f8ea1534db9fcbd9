// QoS: shaping with tc, classified by iptables marks. Writes /tmp/qos.conf and starts it.

#include <stdlib.h>

#include "core/command.h"
#include "core/file.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/text.h"
#include "firewall/firewall.h"
#include "firewall/qos_rules.h"

namespace {

constexpr const char* script_path = "/tmp/qos.conf";

constexpr size_t ifname_width = 10;

// The options for a rule's direction, from the LAN and from the WAN.
struct DirectionWords {
    const char* range;
    const char* address;
    const char* port;
};
constexpr DirectionWords direction_words[] = {
    {.range = "-m iprange --src-range", .address = "-s", .port = "--dport"},
    {.range = "-m iprange --dst-range", .address = "-d", .port = "--sport"},
};

// The line's rate and the classes' shares of it, in kbit/s. The classes 1:10, 1:20 and 1:30 get 8,
// 4 and 1 of 13 shares.
struct Line {
    std::string lan;
    std::string wan;
    long long rate;
    long long share;
};

// A text that begins with "0" counts as not given.
bool given(const std::string& text) {
    return !text.starts_with('0');
}

std::string address_match(const QosRule& rule, const DirectionWords& words) {
    if (!given(rule.first_address)) return " ";
    if (given(rule.last_octet))
        return format("%s %s-%s", words.range, rule.first_address.c_str(),
                      make_range_end(rule.first_address, rule.last_octet).c_str());
    return format("%s %s", words.address, rule.first_address.c_str());
}

std::string port_match(const QosRule& rule, const DirectionWords& words) {
    if (!given(rule.first_port)) return " ";
    if (given(rule.last_port))
        return format("%s %s:%s", words.port, rule.first_port.c_str(), rule.last_port.c_str());
    return format("%s %s", words.port, rule.first_port.c_str());
}

// The first rule marks, the second prevents later rules from marking again.
void write_marks(File& script, const Line& line, const QosRule& rule, int mark) {
    const bool from_wan = rule.direction != 0;
    const DirectionWords& words = direction_words[from_wan ? 1 : 0];
    const char* incoming = from_wan ? line.wan.c_str() : line.lan.c_str();
    const std::string address = address_match(rule, words);
    const std::string port = port_match(rule, words);

    const auto write_protocol = [&](const char* protocol) {
        script.print(
            "/usr/sbin/iptables -t mangle -A FORWARD -i %s -p %s %s %s -j MARK --set-mark %d\n",
            incoming, protocol, address.c_str(), port.c_str(), mark);
        script.print("/usr/sbin/iptables -t mangle -A FORWARD -i %s -p %s %s %s -j RETURN\n",
                     incoming, protocol, address.c_str(), port.c_str());
    };
    if (rule.protocol.starts_with('b')) {
        write_protocol("tcp");
        write_protocol("udp");
    } else {
        write_protocol(rule.protocol.c_str());
    }
}

void write_root(File& script, const char* device, int default_class) {
    script.print("/usr/sbin/tc qdisc add dev %s root handle 1: htb default %d\n", device,
                 default_class);
}

void write_queue_lengths(File& script, const Line& line) {
    for (const std::string& device : {line.lan, line.wan})
        script.print("/sbin/ifconfig %s txqueuelen 100\n", device.c_str());
}

void write_root_class(File& script, const char* device, const Line& line) {
    script.print("/usr/sbin/tc class add dev %s parent 1: classid 1:1 htb rate %lldkbit\n", device,
                 line.rate);
}

void write_class(File& script, const char* device, int number, long long rate, long long ceiling,
                 int priority) {
    script.print(
        "/usr/sbin/tc class add dev %s parent 1:1 classid 1:%d htb rate %lldkbit ceil %lldkbit"
        " prio %d\n",
        device, number, rate, ceiling, priority);
}

void write_queue(File& script, const char* device, int number) {
    script.print("/usr/sbin/tc qdisc add dev %s parent 1:%d handle %d: sfq perturb 10\n", device,
                 number, number);
}

void write_filter(File& script, const char* device, int priority, int mark, int number) {
    script.print(
        "/usr/sbin/tc filter add dev %s parent 1:0 protocol ip prio %d handle %d fw flowid 1:%d\n",
        device, priority, mark, number);
}

void write_priority_classes(File& script, const char* device, const Line& line) {
    write_root_class(script, device, line);
    write_class(script, device, 10, 8 * line.share, line.rate, 1);
    write_class(script, device, 20, 4 * line.share, line.rate, 4);
    write_class(script, device, 30, line.share, line.rate, 8);
    for (const int number : {10, 20, 30}) write_queue(script, device, number);
    for (const int mark : {1, 2, 3}) write_filter(script, device, mark, mark, 10 * mark);
}

// Three classes with fixed shares; the rules assign traffic to classes, and the rest goes to 1:20.
void write_priority_mode(File& script, const Line& line, const QosTable& table) {
    write_root(script, line.lan.c_str(), 20);
    write_queue_lengths(script, line);
    write_priority_classes(script, line.lan.c_str(), line);
    write_root(script, line.wan.c_str(), 20);
    write_priority_classes(script, line.wan.c_str(), line);
    for (const QosRule& rule : table) {
        if (rule.name.empty()) break;
        if (rule.priority != bandwidth_class) write_marks(script, line, rule, rule.priority + 1);
    }
}

// A class for each rule, with its own rate as the ceiling; the rest goes to 1:10.
void write_bandwidth_mode(File& script, const Line& line, const QosTable& table) {
    const char* devices[] = {line.lan.c_str(), line.wan.c_str()};
    for (const char* device : devices) write_root(script, device, 10);
    write_queue_lengths(script, line);
    for (const char* device : devices) write_root_class(script, device, line);
    for (const char* device : devices) {
        write_class(script, device, 10, 4 * line.share, line.rate, 2);
        write_queue(script, device, 10);
    }

    int number = 20;
    for (const QosRule& rule : table) {
        if (rule.name.empty()) break;
        if (rule.priority != bandwidth_class) continue;
        // Traffic from the WAN is shaped on the interface through which it leaves.
        const char* device = rule.direction != 0 ? line.lan.c_str() : line.wan.c_str();
        script.print(
            "/usr/sbin/tc class add dev %s parent 1:1 classid 1:%d htb rate %skbit ceil %skbit"
            " prio 1\n",
            device, number, "1", rule.rate.c_str());
        write_queue(script, device, number);
        write_filter(script, device, 1, number, number);
        write_marks(script, line, rule, number);
        number += 10;
    }
}

Line read_line_settings() {
    const long long rate = scan_number(nvram_text("wan_bandwidth").text()).value_or(0);
    // lldiv(3), because a 32-bit processor has no 64-bit division, and the compiler's own would add
    // a kilobyte to rc.
    return {.lan = std::string(cut(nvram_text("lan_if").view(), ifname_width)),
            .wan = std::string(cut(nvram_text("wan_ifname").view(), ifname_width)),
            .rate = rate,
            .share = lldiv(rate, 13).quot};
}

void write_script(File& script) {
    const Line line = read_line_settings();
    const Setting type = nvram_text("qos_type");
    QosTable table;
    read_qos_rules(table);
    DEBUG("down_rate=%lld up_rate=%lld\n", line.rate, line.rate);

    script.print("#!/bin/sh\n");
    script.print("#Clean old qdisc\n");
    for (const std::string& device : {line.lan, line.wan})
        script.print("/usr/sbin/tc qdisc del dev %s root 2> /dev/null\n", device.c_str());
    if (type.view().starts_with('p'))
        write_priority_mode(script, line, table);
    else
        write_bandwidth_mode(script, line, table);
}

}  // namespace

int read_qos_rules(QosTable& table) {
    return parse_qos_rules(nvram_text("qos").view(), table);
}

void create_qos_cfg() {
    const Setting enabled = nvram_text("qos_enable");
    DEBUG("fw_qos enable =%s\n", enabled.text());
    if (!enabled.on()) {
        DEBUG("return ... NULL\n");
        return;
    }
    {
        File script = open_file(script_path, "w");
        if (!script) {
            DEBUG("return fp NULL\n");
            return;
        }
        write_script(script);
    }
    platform::set_mode(script_path, 0755);
    // In the background: tc is slow, and nothing depends on its end.
    SYSTEM("%s&", script_path);
}

void stop_qos() {
    const Setting lan = nvram_value("lan_if");
    const Setting wan = nvram_value("wan_ifname");
    if (!lan.is_set() || !wan.is_set()) return;
    SYSTEM("/usr/sbin/tc qdisc del dev %s root", lan.text());
    SYSTEM("/usr/sbin/tc qdisc del dev %s root", wan.text());
    SYSTEM("/usr/sbin/iptables -F -t mangle");
}
