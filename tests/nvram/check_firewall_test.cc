// nvram check: the firewall, forwards, access control, QoS and schedules.
#include "check_kit.h"

namespace {

using namespace nvram;

const std::string lan_net = "192.168.1.0/255.255.255.0";

TEST(CheckFirewall, WarnsIfNatIsOff) {
    expect_rows({
        {{"fw_nat=0"}, {"warning fw_nat: is off"}},
        {{"fw_nat="}, {"error fw_nat: is empty; expected 1 (on) or 0 (off)"}},
        {{"fw_nat=yes"}, {"error fw_nat: is neither on nor off; expected 1 (on) or 0 (off)"}},
        {{"-fw_nat"}, {"error fw_nat: is not set"}},
        // An access point has no firewall.
        {{"fw_nat=0", "ap_mode=1", "ap_gateway=192.168.1.254", "ap_dns=192.168.1.254"},
         {"note ap_mode: makes the device an access point, which starts no firewall"}},
    });
    EXPECT_EQ(
        finding_of({"fw_nat=0"}).effect,
        "leaves FORWARD open: any host that reaches the WAN side reaches the LAN; addresses are"
        " not translated");
    // Packets from the WAN for other addresses are dropped before they reach FORWARD.
    EXPECT_EQ(finding_of({"fw_nat=yes"}).effect,
              "translates addresses, sets FORWARD's policy to ACCEPT and writes no DMZ rule");
    EXPECT_EQ(finding_of({"fw_nat="}).effect,
              "addresses are translated, but FORWARD is left open and there is no DMZ");
}

TEST(CheckFirewall, ChecksRemoteManagement) {
    expect_rows({
        {{"fw_remote=1"},
         {"error fw_remote_single: is empty, but fw_remote=1 with fw_remote_type=1 needs it"}},
        {{"fw_remote=1", "fw_remote_single=203.0.113.9"}, {}},
        {{"fw_remote=1", "fw_remote_type=2"},
         {"error fw_remote_range_end: is empty, but fw_remote=1 with fw_remote_type=2 needs it",
          "error fw_remote_range_start: is empty, but fw_remote=1 with fw_remote_type=2 needs it"}},
        {{"fw_remote=1", "fw_remote_type=2", "fw_remote_range_start=203.0.113.9",
          "fw_remote_range_end=203.0.113.15"},
         {}},
        {{"fw_remote=1", "fw_remote_type=2", "fw_remote_range_start=203.0.113.9",
          "fw_remote_range_end=203.0.113.8"},
         {"error fw_remote_range_start: is above fw_remote_range_end=203.0.113.8"}},
        {{"fw_remote=1", "fw_remote_type=2", "fw_remote_range_start=x",
          "fw_remote_range_end=203.0.113.8"},
         {"error fw_remote_range_start: is not an IPv4 address; expected four numbers, such as"
          " 192.168.1.1"}},
        {{"fw_remote=1", "fw_remote_type=2", "fw_remote_range_start=203.0.113.8",
          "fw_remote_range_end=x"},
         {"error fw_remote_range_end: is not an IPv4 address; expected four numbers, such as"
          " 192.168.1.1"}},
        // The range of all addresses is one, and so is one that begins with 0.0.0.0.
        {{"fw_remote=1", "fw_remote_type=2", "fw_remote_range_start=0.0.0.0",
          "fw_remote_range_end=255.255.255.255"},
         {"warning fw_remote_range_start: starts a range of all hosts, up to 255.255.255.255"}},
        {{"fw_remote=1", "fw_remote_type=2", "fw_remote_range_start=0.0.0.0",
          "fw_remote_range_end=10.255.255.255"},
         {}},
        {{"fw_remote=1", "fw_remote_type=3"},
         {"warning fw_remote_type: opens the web interface to every host on the WAN"}},
        {{"fw_remote=1", "fw_remote_type=4"},
         {"error fw_remote_type: is not an allowed value; expected one of 1, 2, 3"}},
        {{"fw_remote_type=3"}, {}},
    });
    EXPECT_EQ(finding_of({"fw_remote=1", "fw_remote_type=4"}).effect,
              "reads only the first character: 1, 2 or 3, and anything else redirects nothing");
    // A finding is one line, whatever the port is.
    const std::vector<Finding> every_host =
        findings({"fw_remote=1", "fw_remote_type=3", "fw_remote_port=80\\x0a`id`"});
    ASSERT_EQ(every_host.size(), 2U);
    EXPECT_EQ(every_host[1].effect, "redirects port 80\\x0a`id` of the WAN to it, from any host");
}

TEST(CheckFirewall, TheDmzHostMustBeInTheLan) {
    expect_rows({
        {{"fw_dmz_enable=1", "fw_dmz=192.168.1.100"}, {}},
        {{"fw_dmz_enable=1"}, {"error fw_dmz: is empty, but fw_dmz_enable=1 needs it"}},
        {{"fw_dmz_enable=1", "fw_dmz=192.168.2.100"},
         {"error fw_dmz: is not a host on the LAN " + lan_net}},
        {{"fw_dmz_enable=1", "fw_dmz=192.168.1.1"}, {"error fw_dmz: is the router's own address"}},
        {{"fw_dmz=192.168.2.100"}, {}},
        {{"fw_dmz_enable=1", "fw_dmz=192.168.1.100", "fw_nat=0"},
         {"warning fw_dmz_enable: is on without fw_nat=1", "warning fw_nat: is off"}},
    });
}

TEST(CheckFirewall, ReportsServicesMissingFromBothTables) {
    const std::string services = "fw_services=IRC:tcp:6667-6667\\x01MY WEB:tcp:81-81";
    const std::string built_in =
        "fw_services_def=HTTP:tcp:80-80\\x01"
        "FTP:tcp:21-21";
    const std::string none = ", which is in neither fw_services_def nor fw_services";
    expect_rows({
        {{"ac_control=2", services, built_in, "access_control=0000HTTP\\x01IRC FTP"}, {}},
        // Any number of separators may be between names.
        {{"ac_control=2", services, built_in, "access_control=0000 HTTP\\x01\\x01IRC  FTP\\x01"},
         {}},
        {{"ac_control=2", services, built_in,
          "access_control=0000HTTP\\x01HTTPS\\x01"
          "FTP"},
         {"error access_control: names 'HTTPS'" + none}},
        {{"ac_control=0", services, built_in, "access_control=0000HTTP\\x01HTTPS"},
         {"warning access_control: names 'HTTPS'" + none}},
        // Spaces separate names as well, so this service cannot be named.
        {{"ac_control=2", services, built_in, "access_control=0000MY WEB"},
         {"error access_control: names 'MY'" + none}},
        {{"ac_control=2", "access_control=0000http", built_in},
         {"error access_control: names 'http'" + none}},
        {{"ac_control=2"}, {"warning access_control: is empty, but ac_control=2 needs it"}},
        {{"ac_control=2", built_in, "access_control=FTP"},
         {"error access_control: does not have four characters before its first name"}},
        {{"ac_control=2", built_in, "access_control=FTP\\x01HTTP"},
         {"error access_control: does not have four characters before its first name"}},
    });
    const Finding finding = finding_of({"ac_control=2", services, built_in,
                                        "access_control=0000HTTP\\x01HTTPS\\x01"
                                        "FTP\\x01IRC"});
    EXPECT_EQ(finding.effect, "stops there and does not block: HTTPS, FTP, IRC");

    std::string many = "access_control=0000";
    for (int i = 0; i < 101; i++) many += "HTTP\\x01";
    EXPECT_EQ(
        found({"ac_control=2", built_in, many}),
        std::vector<std::string>({"error access_control: has 101 names; the maximum is 100"}));
}

TEST(CheckFirewall, ChecksServiceTables) {
    expect_rows({
        {{"fw_services=A:tcp:90-80"},
         {"error fw_services: entry 1: 'A' has a first port above its last port"}},
        {{"fw_services=A:tcp:x-80"},
         {"error fw_services: entry 1, field first: 'x' is not a number; expected a number from 1"
          " to 65535"}},
        {{"fw_services=A:any:80-90", "fw_services_def=A:tcp:1-1"},
         {"warning fw_services: entry 1: 'A' has the name of a service in fw_services_def"}},
        {{"fw_services=A:icmp:80-90"},
         {"error fw_services: entry 1, field protocol: 'icmp' is not an allowed value; expected"
          " one of tcp, udp, both, any"}},
    });
}

TEST(CheckFirewall, ReportsEmptyListsThatFeaturesNeed) {
    expect_rows({
        {{"fw_block=1"}, {"warning fw_block_keyword: is empty, but fw_block=1 needs it"}},
        {{"fw_block=1", "fw_block_keyword=x"}, {}},
        {{"fw_trustenable=1"}, {"warning access_group: is empty, but fw_trustenable=1 needs it"}},
        {{"fw_block_trust_enable=1"},
         {"warning fw_block_trust: is empty, but fw_block_trust_enable=1 needs it"}},
        {{"fw_block_trust_enable=1", "fw_block_trust=10.0.0.1"},
         {"error fw_block_trust: is not a host on the LAN " + lan_net}},
    });
}

// The host is the LAN's first three numbers and the record's last one.
TEST(CheckForwards, HostsMustBeInTheLan) {
    const std::vector<std::string> small = {
        "lan_netmask=255.255.255.128", "lan_bipaddr=192.168.1.127",
        "fw_in_rules=web:1:x:80:80:tcp:130", "fw_out_rules=game:1:x:1000:2000:both:127"};
    expect_rows({
        {{"fw_in_rules=web:1:x:80:80:tcp:10", "fw_out_rules=game:1:x:1000:2000:both:11"}, {}},
        {{"fw_in_rules=web:1:x:80:80:tcp:1"},
         {"error fw_in_rules: entry 1 leads to 192.168.1.1, the router itself"}},
        {{"fw_in_rules=off:0:x:80:80:tcp:1"}, {}},
        {small,
         {"error fw_in_rules: entry 1 leads to 192.168.1.130, which is not a host on the LAN"
          " 192.168.1.0/255.255.255.128",
          "error fw_out_rules: entry 1 leads to 192.168.1.127, which is not a host on the LAN"
          " 192.168.1.0/255.255.255.128"}},
    });
}

TEST(CheckForwards, ChecksPortsAndRemoteManagement) {
    const std::vector<std::string> remote = {"fw_remote=1", "fw_remote_type=3",
                                             "fw_remote_port=8080"};
    const std::string open =
        "warning fw_remote_type: opens the web interface to every host on the WAN";
    const auto with_remote = [&](const std::string& change) {
        return std::vector<std::string>{remote[0], remote[1], remote[2], change};
    };
    expect_rows({
        {{"fw_out_rules=game:1:x:2000:1000:both:11"},
         {"error fw_out_rules: entry 1 has a first port above its last port"}},
        {with_remote("fw_in_rules=web:1:x:8080:80:tcp:10"),
         {"error fw_in_rules: entry 1 contains port 8080, the port of remote management", open}},
        {with_remote("fw_in_rules=web:1:x:8081:8080:tcp:10"), {open}},
        {with_remote("fw_in_rules=web:1:x:8079:8080:tcp:10"), {open}},
        {with_remote("fw_in_rules=web:1:x:8080:80:udp:10"), {open}},
        {with_remote("fw_out_rules=all:1:x:8000:9000:both:10"),
         {"error fw_out_rules: entry 1 contains port 8080, the port of remote management", open}},
        {with_remote("fw_out_rules=all:1:x:8000:9000:udp:10"), {open}},
        {{"fw_remote=1", "fw_remote_single=203.0.113.9", "fw_in_rules=web:1:x:8080:80:tcp:10"},
         {"warning fw_in_rules: entry 1 contains port 8080, the port of remote management"}},
        {{"fw_in_rules=web:1:x:8080:80:tcp:10"}, {}},
    });
}

TEST(CheckForwards, ReportsOverlappingPorts) {
    expect_rows({
        {{"fw_in_rules=a:1:x:80:80:tcp:10\\x01"
          "b:1:x:80:81:udp:11\\x01"
          "c:1:x:81:80:tcp:12"},
         {}},
        {{"fw_in_rules=a:1:x:80:80:tcp:10\\x01"
          "b:0:x:80:80:tcp:11\\x01"
          "c:1:x:80:81:tcp:11"},
         {"warning fw_in_rules: entry 3 shares ports with entry 1"}},
        {{"fw_in_rules=a:1:x:80:80:tcp:10", "fw_out_rules=b:1:x:79:90:both:11"},
         {"warning fw_out_rules: entry 1 shares ports with entry 1 of fw_in_rules"}},
        {{"fw_in_rules=a:1:x:80:80:udp:10", "fw_out_rules=b:1:x:79:90:tcp:11"}, {}},
        {{"fw_out_rules=a:1:x:10:20:both:10\\x01"
          "b:1:x:20:30:tcp:11"},
         {"warning fw_out_rules: entry 2 shares ports with entry 1"}},
        {{"fw_out_rules=a:1:x:10:20:tcp:10\\x01"
          "b:1:x:20:30:tcp:11\\x01"
          "c:1:x:31:40:tcp:12"},
         {"warning fw_out_rules: entry 2 shares ports with entry 1"}},
    });
}

TEST(CheckForwards, ChecksSpecialApplications) {
    const std::string good = "0:1:game:tcp:6000-6010:udp:7000-7010";
    expect_rows({
        {{"fw_spapp=" + good}, {}},
        {{"fw_spapp=0:1:game:tcp:6010-6000:udp:7000-7010"},
         {"error fw_spapp: entry 1 has a first port above its last port, 6010-6000"}},
        {{"fw_spapp=" + good + "\\x010:1:game:tcp:6000-6010:udp:7010-7000"},
         {"error fw_spapp: entry 2 has a first port above its last port, 7010-7000"}},
        {{"fw_spapp=0:0:game:tcp:6010-6000:udp:7000-7010"}, {}},
        {{"fw_spapp=0:1:game:tcp:x-6000:udp:7000-x"},
         {"error fw_spapp: entry 1, field trigger_first: 'x' is not a number; expected a number"
          " from 1 to 65535",
          "error fw_spapp: entry 1, field last: 'x' is not a number; expected a number from 1 to"
          " 65535"}},
        {{"fw_spapp=0:1:game:icmp:6000-6010:udp:7000-7010"},
         {"error fw_spapp: entry 1, field trigger_protocol: 'icmp' is not an allowed value;"
          " expected one of tcp, udp, both"}},
    });
    // "1,10000,20000" and a comma are 14 characters: 36 of them are within 511.
    std::string many = "fw_spapp=";
    for (int i = 0; i < 37; i++) many += "0:1:game:tcp:10000-20000:udp:10000-20000\\x01";
    const Finding finding = finding_of({many});
    EXPECT_EQ(
        shown(finding),
        "error fw_spapp: has 37 enabled entries, which do not fit into 511 characters of ports");
    EXPECT_EQ(finding.effect, "uses 36 of them");
}

// A rule of ten fields.
std::string rule(const std::string& on, const std::string& name, const std::string& ports,
                 const std::string& address, const std::string& rate_and_class) {
    std::string text = on + ":0:" + name + ":" + ports + ":tcp:" + address + ":" + rate_and_class;
    std::string record;
    for (const char c : text) record += c == ':' ? std::string("\\x02") : std::string(1, c);
    return record;
}

// The rule as rc writes it, and what iptables makes of it.
TEST(CheckForwards, TellsWhatIptablesDoesWithARule) {
    const auto effect = [](const std::string& change) {
        const std::vector<nvram::Finding> all = findings({change});
        for (const nvram::Finding& finding : all)
            if (finding.problem.find("'TCP'") != std::string::npos) return finding.effect;
        return std::string("(none)");
    };
    const std::string line = "writes into /tmp/rules: iptables -A FORWARD ";
    EXPECT_EQ(effect("fw_in_rules=web:1:x:8000:80:TCP:9"),
              line + "-p TCP -d 192.168.1.9 --dport 80 -j ACCEPT; iptables reads it as tcp");
    EXPECT_EQ(effect("fw_out_rules=game:1:x:90:80:TCP:5"),
              line + " -p TCP -d 192.168.1.5 --dport 90:80 -j ACCEPT; iptables rejects it");
}

// A 0 in front makes a port or an address of a QoS rule none; not one of the other fields.
TEST(CheckQos, ReadsASwitchAsANumber) {
    EXPECT_EQ(findings({"qos_enable=1", "wan_bandwidth=2000",
                        "qos=" + rule("05", "game", "80\\x0281", "10\\x0220", "100:1")})[0]
                  .effect,
              "reads it as 5");
}

TEST(CheckQos, ChecksEachRule) {
    const auto with_rule = [](const std::string& record) {
        return std::vector<std::string>{"qos_enable=1", "wan_bandwidth=2000", "qos=" + record};
    };
    const auto by_rate = [](const std::string& record) {
        return std::vector<std::string>{"qos_enable=1", "wan_bandwidth=2000", "qos_type=bandwidth",
                                        "qos=" + record};
    };
    expect_rows({
        {with_rule(rule("1", "web", "80:90", "192.168.1.10:20", "0:1")), {}},
        {with_rule(rule("1", "web", "0:0", "0:0", "0:2")), {}},
        {by_rate(rule("1", "web", "80:0", "0:0", "500:9")), {}},
        {with_rule(rule("0", "web", "0:0", "0:0", "0:1")),
         {"warning qos: entry 1 is marked as off"}},
        {with_rule(rule("1", "web", "0:0", "0:0", "500:9")),
         {"warning qos: entry 1 has class 9, and qos_type is priority"}},
        {by_rate(rule("1", "web", "0:0", "0:0", "500:0")),
         {"warning qos: entry 1 has class 0, and qos_type is bandwidth"}},
        {with_rule(rule("1", "web", "90:80", "0:0", "0:1")),
         {"error qos: entry 1 has a first port above its last port"}},
        {with_rule(rule("1", "web", "0:0", "192.168.1.20:10", "0:1")),
         {"error qos: entry 1 has a first address above its last"}},
        {with_rule(rule("1", "web", "0:0", "10.0.0.1:0", "0:1")),
         {"warning qos: entry 1 is for 10.0.0.1, which is not a host on the LAN " + lan_net}},
        {with_rule(rule("1", "web", "0:0", "10.0.0:0", "0:1")),
         {"error qos: entry 1, field first_address: '10.0.0' is not an IPv4 address; expected four"
          " numbers, such as 192.168.1.1, or one of 0"}},
        {{"qos_enable=1", "wan_bandwidth=2000", "lan_ipaddr=x",
          "qos=" + rule("1", "web", "0:0", "10.0.0.1:0", "0:1")},
         {"error lan_ipaddr: is not an IPv4 address; expected four numbers, such as 192.168.1.1"}},
        {{"qos_enable=1", "wan_bandwidth=0", "qos_type=bandwidth",
          "qos=" + rule("1", "web", "0:0", "0:0", "500:9")},
         {"error wan_bandwidth: is 0, but qos_enable=1 needs it"}},
        {with_rule(rule("1", "", "0:0", "0:0", "0:1")),
         {"error qos: entry 1, field name: is empty; expected a text"}},
        {by_rate(rule("1", "web", "0:0", "0:0", "0:9")), {"error qos: entry 1 has no rate"}},
        {by_rate(rule("1", "web", "0:0", "0:0", "2001:9")),
         {"warning qos: entry 1 has a rate of 2001, more than wan_bandwidth=2000"}},
        {with_rule(rule("1", "a", "0:0", "0:0", "0:1") + "\\x01" +
                   rule("1", "", "0:0", "0:0", "0:1") + "\\x01" +
                   rule("1", "c", "0:0", "0:0", "0:9")),
         {"error qos: entry 2, field name: is empty; expected a text",
          "error qos: entry 2 has no name"}},
        {{"qos=" + rule("0", "web", "90:80", "10.0.0.1:0", "0:9")}, {}},
    });
}

TEST(CheckQos, TheLineNeedsARateAndShortInterfaceNames) {
    const std::string record = "qos=" + rule("1", "web", "80:0", "0:0", "0:1");
    expect_rows({
        {{"qos_enable=1", record}, {"error wan_bandwidth: is 0, but qos_enable=1 needs it"}},
        {{"qos_enable=1", "wan_bandwidth=12", record},
         {"error wan_bandwidth: is too low to be shared"}},
        {{"qos_enable=1", "wan_bandwidth=13", record}, {}},
        {{"qos_enable=1", "wan_bandwidth=2000"}, {"note qos: is empty, but qos_enable=1 needs it"}},
        {{"qos_enable=1", "wan_bandwidth=2000", record, "lan_if=bridge0000"}, {}},
        {{"qos_enable=1", "wan_bandwidth=2000", record, "lan_if=bridge00000"},
         {"error lan_if: has 11 characters, but QoS keeps 10"}},
    });
    std::string many = "qos=";
    for (int i = 0; i < 21; i++) many += rule("1", "web", "80:0", "0:0", "0:1") + "\\x01";
    EXPECT_EQ(found({"qos_enable=1", "wan_bandwidth=2000", many}),
              std::vector<std::string>({"error qos: has 21 entries; the maximum is 20"}));
}

// The first list serves the part of a period after midnight, the second the part before it.
TEST(CheckSchedules, ReportsPeriodsThatApplyDifferentlyThanTheyLook) {
    const std::string on = "ac_sch=1";
    const std::string all = "ac_control=1";
    expect_rows({
        {{on, all, "fw_schedule=1:8:30-17:0\\x012:8:30-17:0"}, {}},
        {{on, all, "fw_schedule=1:8:0-8:0"},
         {"error fw_schedule: entry 1, from 8:00 to 8:00, never applies"}},
        {{on, all, "fw_schedule=1:22:0-0:0"},
         {"error fw_schedule: entry 1, from 22:00 to 0:00, never applies"}},
        {{on, all, "fw_schedule2=1:22:0-22:0"},
         {"error fw_schedule2: entry 1, from 22:00 to 22:00, never applies"}},
        {{on, all, "fw_schedule=1:22:0-6:0"},
         {"warning fw_schedule: entry 1, from 22:00 to 6:00, goes past midnight, but fw_schedule2"
          " has no such entry"}},
        {{on, all, "fw_schedule2=1:22:0-6:0"},
         {"warning fw_schedule2: entry 1, from 22:00 to 6:00, goes past midnight, but fw_schedule"
          " has no such entry"}},
        {{on, all, "fw_schedule=1:22:0-6:0", "fw_schedule2=1:22:0-6:0"}, {}},
        {{on, all, "fw_schedule2=1:22:0-0:0"},
         {"warning fw_schedule2: entry 1, from 22:00 to 0:00, goes past midnight, but fw_schedule"
          " has no such entry"}},
        {{on, all, "fw_schedule=1:8:0-12:0\\x011:13:0-17:0"},
         {"warning fw_schedule: entry 2 is another one for Monday"}},
        {{on, all, "fw_schedule=1:8:0-12:0", "fw_schedule2=1:13:0-17:0"}, {}},
        {{on, all, "fw_schedule=3:0:0-24:0"}, {"note fw_schedule: entry 1 ends at 24:00"}},
        {{on, all, "fw_schedule=1:0:2147483647-1:0"},
         {"error fw_schedule: entry 1, field from_minute: '2147483647' is out of range; expected a"
          " number from 0 to 59"}},
        {{on, all, "fw_schedule=1:24:0-12:0"},
         {"error fw_schedule: entry 1, field from_hour: '24' is out of range; expected a number"
          " from 0 to 23"}},
        {{on, all, "fw_schedule=1:8:60-12:0"},
         {"error fw_schedule: entry 1, field from_minute: '60' is out of range; expected a number"
          " from 0 to 59"}},
        {{on, all, "fw_schedule=1:8:0-25:0"},
         {"error fw_schedule: entry 1, field to_hour: '25' is out of range; expected a number from"
          " 0 to 24"}},
        {{on, all, "fw_schedule=1:8:0-12:60"},
         {"error fw_schedule: entry 1, field to_minute: '60' is out of range; expected a number"
          " from 0 to 59"}},
        {{on, all, "fw_schedule=1:22:0-6:0", "fw_schedule2=1:22:0-7:0"},
         {"warning fw_schedule: entry 1, from 22:00 to 6:00, goes past midnight, but fw_schedule2"
          " has no such entry",
          "warning fw_schedule2: entry 1, from 22:00 to 7:00, goes past midnight, but fw_schedule"
          " has no such entry"}},
        {{on, all, "fw_schedule=1:22:0-6:0", "fw_schedule2=1:23:0-6:0"},
         {"warning fw_schedule: entry 1, from 22:00 to 6:00, goes past midnight, but fw_schedule2"
          " has no such entry",
          "warning fw_schedule2: entry 1, from 23:00 to 6:00, goes past midnight, but fw_schedule"
          " has no such entry"}},
        {{on, all, "fw_schedule=-1:8:0-12:0"},
         {"error fw_schedule: entry 1, field day: '-1' is out of range; expected a number from 0"
          " to 6"}},
        {{on, all, "fw_schedule=x:8:0-12:0"},
         {"error fw_schedule: entry 1, field day: 'x' is not a number; expected a number from 0 to"
          " 6"}},
        {{on, all, "fw_schedule=7:8:0-12:0"},
         {"error fw_schedule: entry 1, field day: '7' is out of range; expected a number from 0 to"
          " 6"}},
    });
    EXPECT_EQ(finding_of({on, all, "fw_schedule=1:22:0-6:0"}).effect,
              "applies it on Monday from 0:00 to 6:00 only");
    EXPECT_EQ(finding_of({on, all, "fw_schedule2=1:22:0-6:0"}).effect,
              "applies it on Monday from 22:00 to the end of the day only");
    EXPECT_EQ(finding_of({on, all, "fw_schedule=1:22:0-6:0"}).fix,
              "the entry 1:22:0-6:0 in fw_schedule2 too");
}

TEST(CheckSchedules, ReportsSchedulesThatNoFeatureUses) {
    expect_rows({
        {{"ac_sch=1", "ac_control=1"},
         {"warning ac_sch: requires a schedule, but both lists are empty"}},
        {{"ac_sch=1"}, {}},
        {{"fw_block=2", "fw_block_keyword=x"},
         {"warning fw_block: requires a schedule, but both lists are empty"}},
        {{"fw_block=2", "fw_block_keyword=x", "fw_schedule=1:8:0-12:0"}, {}},
        {{"fw_schedule=1:8:0-12:0"}, {"note fw_schedule: has periods that no feature uses"}},
        {{"fw_schedule2=1:8:0-12:0"}, {"note fw_schedule2: has periods that no feature uses"}},
    });
}

TEST(CheckSchedules, ChecksTheRadioSchedule) {
    const std::string on = "wireless_sch_en=enable";
    expect_rows({
        {{on, "wl_schedule=1:8:0-18:0\\x011:20:0-24:0\\x012:0:0-0:0"}, {}},
        {{on}, {"warning wl_schedule: is empty, but wireless_sch_en=enable needs it"}},
        {{"wl_schedule=1:8:0-18:0"},
         {"note wl_schedule: takes effect only with wireless_sch_en=enable"}},
        {{on, "wl_schedule=1:8:0-8:0"},
         {"error wl_schedule: entry 1, from 8:00 to 8:00, starts and ends in the same minute"}},
        {{on, "wl_schedule=1:22:0-6:0"},
         {"warning wl_schedule: entry 1, from 22:00 to 6:00, goes past midnight"}},
    });
}

}  // namespace
