// nvram check: single values, fields of records, missing settings and unknown keys.
#include "check_kit.h"
#include "settings/records.h"

namespace {

using namespace nvram;
using Texts = std::vector<std::string_view>;

constexpr Field period_fields[] = {{.name = "day", .form = Form::Number, .high = 6},
                                   {.name = "from", .form = Form::Number, .high = 23},
                                   {.name = "to", .form = Form::Number, .high = 24}};
constexpr Record periods = {.between = '\x01', .shape = "day:from-to", .fields = period_fields};
constexpr Record after_four = {.between = ' ',
                               .shape =
                                   "day\x02"
                                   "from\x02"
                                   "to",
                               .fields = period_fields,
                               .ignored_prefix = 4};
constexpr Record single = {.shape = "day:from-to", .fields = period_fields};

TEST(Records, SplitsLists) {
    EXPECT_EQ(split_records(periods, ""), Texts());
    EXPECT_EQ(split_records(periods, "a"), Texts({"a"}));
    EXPECT_EQ(split_records(periods, "a\x01"), Texts({"a"}));
    EXPECT_EQ(split_records(periods,
                            "a\x01"
                            "b"),
              Texts({"a", "b"}));
    EXPECT_EQ(split_records(periods,
                            "\x01"
                            "b"),
              Texts({"", "b"}));
    EXPECT_EQ(split_records(periods,
                            "a\x01\x01"
                            "b"),
              Texts({"a", "", "b"}));
    EXPECT_EQ(split_records(after_four, "abc"), Texts());
    EXPECT_EQ(split_records(after_four, "a cd1 2"), Texts({"1", "2"}));
    EXPECT_EQ(split_records(single,
                            "a\x01"
                            "b"),
              Texts({"a\x01"
                     "b"}));
    EXPECT_EQ(split_records(single, ""), Texts());
}

TEST(Records, SplitsFields) {
    EXPECT_EQ(split_fields(periods, "1:8-17"), Texts({"1", "8", "17"}));
    EXPECT_EQ(split_fields(periods, "1:8-17:0-x"), Texts({"1", "8", "17:0-x"}));
    EXPECT_EQ(split_fields(periods, ":-"), Texts({"", "", ""}));
    EXPECT_EQ(split_fields(periods, "1:8"), Texts({"1", "8"}));
    EXPECT_EQ(split_fields(periods, "1-8"), Texts({"1-8"}));
    EXPECT_EQ(split_fields(after_four,
                           "1\x02"
                           "8\x02"
                           "17"),
              Texts({"1", "8", "17"}));
    EXPECT_EQ(field_place(periods, "to"), 2U);
    EXPECT_EQ(field_place(periods, "none"), 3U);
}

TEST(Check, FindsNothingInValidSettings) {
    EXPECT_EQ(found({}), std::vector<std::string>());
}

TEST(Check, ReportsTheFactoryPasswordAndTheOpenNetwork) {
    EXPECT_EQ(found({"http_password=1234", "wifi_wep_on=0"}),
              (std::vector<std::string>{
                  "note http_password: is the well-known factory password",
                  "note wifi_wep_on: leaves the first network open",
              }));
}

TEST(Check, RejectsValuesThatDoNotMatchTheirForm) {
    expect_rows({
        {{"fw_remote_port=80800"},
         {"error fw_remote_port: is out of range; expected a number from 1 to 65535"}},
        {{"fw_remote_port="},
         {"error fw_remote_port: is empty; expected a number from 1 to 65535"}},
        {{"wan_mode=dhcp"},
         {"error wan_mode: is not an allowed value; expected one of dhcpc, ip, pppoe, pptp, l2tp,"
          " bpa, ras"}},
        {{"log_dos=on"}, {"error log_dos: is neither on nor off; expected 1 (on) or 0 (off)"}},
        {{"log_dos=1x"}, {"warning log_dos: is longer than one character"}},
        {{"wan_dns1=8.8.8"},
         {"error wan_dns1: is not an IPv4 address; expected four numbers, such as 192.168.1.1"}},
        {{"fix_netmask=255.0.255.0"},
         {"error fix_netmask: is not a netmask: its ones are not contiguous; expected four"
          " numbers, such as 255.255.255.0"}},
        {{"wan_macaddr=02:00:00:00:00"},
         {"error wan_macaddr: is not a MAC address; expected six pairs of hexadecimal digits, such"
          " as 00:11:22:33:44:55"}},
        {{"wan_phy_ifname=an_interface_too_long"},
         {"error wan_phy_ifname: is not an interface name; expected an interface name of 1 to 15"
          " characters"}},
        {{"ntp_server=no_such"},
         {"error ntp_server: is neither a host name nor an IPv4 address; expected a host name or"
          " an IPv4 address"}},
        {{"wifi_key15=12345"},
         {"error wifi_key15: has 5 digits; expected 10 to 26 hexadecimal digits"}},
    });
}

// Only a first character of 0 turns these off; the others are on with 1.
TEST(Check, ExplainsTheEffectOfAnInvalidFlag) {
    EXPECT_EQ(finding_of({"log_access=yes"}).effect,
              "treats it as off: only a value that starts with 1 is on");
    EXPECT_EQ(finding_of({"ddns_use_wildcards=no"}).effect,
              "treats it as on: only a value that starts with 0 is off");
    EXPECT_EQ(finding_of({"dhcp_server_enable=yes"}).effect,
              "neither starts the DHCP server nor deletes its leases");
    EXPECT_EQ(finding_of({"log_dos=1x"}).effect, "reads only the first character, 1");
}

TEST(Check, ExplainsTheEffectOfAnUnknownWord) {
    EXPECT_EQ(finding_of({"ac_sch=yes"}).effect,
              "reads it as a number: 1 means by schedule, anything else means always");
    EXPECT_EQ(finding_of({"wifi_def_key5=9"}).effect, "passes it on unchanged");
}

TEST(Check, SuggestsAFix) {
    const std::pair<const char*, const char*> rows[] = {
        {"fw_remote_port=80800", "fw_remote_port=8080"},
        {"wan_mode=dhcp", "wan_mode=dhcpc"},
        // Words of one letter are near to every word, so none is suggested.
        {"wifi_BasicRate=x", "one of 0, 1, 2"},
        {"wan_mode=static", "one of dhcpc, ip, pppoe, pptp, l2tp, bpa, ras"},
        {"log_dos=1x", "log_dos=1"},
        {"wan_dns1=8.8.8", "an IPv4 address such as 192.168.1.1"},
        {"lan_lease_time=0", "lan_lease_time=1"},
    };
    for (const auto& [change, fix] : rows) EXPECT_EQ(finding_of({change}).fix, fix) << change;
}

TEST(Check, ReportsTextsThatAreTooLong) {
    const std::string name(130, 'n');
    const Finding cut = finding_of({"device_name=" + name});
    EXPECT_EQ(shown(cut), "warning device_name: has 130 characters; the maximum is 127");
    EXPECT_EQ(cut.effect, "keeps the first 127: '" + name.substr(0, 127) + "'");
    EXPECT_EQ(cut.fix, "device_name=" + name.substr(0, 127));
    EXPECT_EQ(found({"device_name=" + name.substr(0, 127)}), std::vector<std::string>());

    // rc does not cut this one.
    const Finding whole = finding_of({"wifi_ssid=" + name.substr(0, 33)});
    EXPECT_EQ(shown(whole), "error wifi_ssid: has 33 characters; the maximum is 32");
    EXPECT_EQ(whole.effect, "passes all of it on, to a driver that accepts no more than 32");
}

TEST(Check, ChecksTheFieldsOfRecords) {
    const std::string good = "web:1:x:8080:80:tcp:10";
    expect_rows({
        {{"fw_in_rules=" + good}, {}},
        {{"fw_in_rules=" + good + "\\x01"}, {}},
        {{"fw_in_rules=:0::1:65535:udp:254"}, {}},
        {{"fw_in_rules=" + good + "\\x01ssh:1:x:22:22:tcpp:11"},
         {"error fw_in_rules: entry 2, field protocol: 'tcpp' is not an allowed value; expected"
          " one of tcp, udp"}},
        {{"fw_in_rules=" + good + "\\x01ssh:1:x:22:22:both:11"},
         {"error fw_in_rules: entry 2, field protocol: 'both' is not an allowed value; expected"
          " one of tcp, udp"}},
        {{"fw_in_rules=web:1:x:0:80:tcp:10"},
         {"error fw_in_rules: entry 1, field outside: '0' is out of range; expected a number from"
          " 1 to 65535"}},
        {{"fw_in_rules=web:1:x:8080::tcp:10"},
         {"error fw_in_rules: entry 1, field inside: is empty; expected a number from 1 to 65535"}},
        // Every text except 1 leaves an entry out, so 1x is an error.
        {{"fw_in_rules=web:1x:x:8080:80:tcp:10"},
         {"error fw_in_rules: entry 1, field on: '1x' is not an allowed value; expected one of 0,"
          " 1"}},
        {{"fw_in_rules=web:1:x:8080"},
         {"error fw_in_rules: entry 1: 'web:1:x:8080' ends before field inside"}},
        {{"fw_in_rules=" + good + "\\x01\\x01ssh:1:x:22:22:tcp:11"},
         {"note fw_in_rules: entry 2 is empty"}},
        {{"wifi_access_list=00:11:22:33:44:55\\x0100-11-22-33-44-66"},
         {"error wifi_access_list: entry 2, field mac: '00-11-22-33-44-66' is not a MAC address;"
          " expected six pairs of hexadecimal digits, such as 00:11:22:33:44:55"}},
        {{"pcdb_list=a-name-of-sixteen;192.168.1.40;00:11:22:33:44:55"},
         {"warning pcdb_list: entry 1, field host: 'a-name-of-sixteen' has 17 characters; the"
          " maximum is 15"}},
    });
    const Finding cut = finding_of({"pcdb_list=a-name-of-sixteen;192.168.1.40;00:11:22:33:44:55"});
    EXPECT_EQ(cut.effect, "keeps 'a-name-of-sixte'");
}

TEST(Check, ReportsTooManyEntries) {
    std::string forwards;
    for (int port = 1; port <= 16; port++)
        forwards += "n:1:x:" + std::to_string(port) + ":80:tcp:10\\x01";
    EXPECT_EQ(
        found({"fw_in_rules=" + forwards}),
        (std::vector<std::string>{"error fw_in_rules: has 16 enabled entries; the maximum is 15"}));
    EXPECT_EQ(finding_of({"fw_in_rules=" + forwards}).effect, "does not use entry 16");
    // A disabled entry does not count.
    EXPECT_EQ(finding_of({"fw_in_rules=off:0:x:99:80:tcp:10\\x01" + forwards}).effect,
              "does not use entry 17");
    EXPECT_EQ(found({"fw_in_rules=off:0:x:99:80:tcp:10\\x01" +
                     forwards.substr(0, forwards.rfind("n:1"))}),
              std::vector<std::string>());

    const Finding routes =
        finding_of({"rt_static_route=a:10.1.0.0:255.255.0.0:192.168.1.2:1:0:1 "
                    "b:10.2.0.0:255.255.0.0:192.168.1.2:1:0:1"});
    EXPECT_EQ(shown(routes), "error rt_static_route: has 2 entries; the maximum is 1");
    EXPECT_EQ(routes.effect, "does not use entry 2");
}

TEST(Check, ReportsSettingsThatAreNotSet) {
    expect_rows({
        {{"-lan_bipaddr"}, {"error lan_bipaddr: is not set"}},
        {{"-wan_phy_ifname"}, {"warning wan_phy_ifname: is not set"}},
        {{"-wan_dns1"}, {}},
    });
    EXPECT_EQ(finding_of({"-lan_bipaddr"}).effect, "ifconfig fails, so the LAN gets no address");
    EXPECT_EQ(finding_of({"-wan_phy_ifname"}).effect,
              "the port is eth2.2; the firewall uses ether_wan_ifname");
    EXPECT_EQ(finding_of({"-lan_bipaddr"}).fix, "lan_bipaddr=192.168.1.255");
}

TEST(Check, ReportsUnknownKeysAndSuggestsTheNearest) {
    expect_rows({
        {{"wan_mut=1400"}, {"note wan_mut: is not a setting of rc; the nearest is wan_mtu"}},
        {{"LAN_IPADDR=1"}, {"note LAN_IPADDR: is not a setting of rc; the nearest is lan_ipaddr"}},
        {{"my_own=1"}, {"note my_own: is not a setting of rc"}},
        // Interfaces of further connections are read by a name made of igmp_port.
        {{"wan_ifname2=ppp1"}, {}},
    });
    EXPECT_EQ(finding_of({"wan_mut=1400"}).fix, "wan_mtu=1400");
}

TEST(Check, NeverShowsASecret) {
    // A short pass phrase, a misspelt password key, a key of a network that does not exist.
    for (const char* const change :
         {"wifi_psk2_pwd=geheim", "htp_pasword=geheim", "wifi_key16=geheim"}) {
        const Finding finding = finding_of({change});
        EXPECT_EQ(finding.value, "********") << change;
        for (const std::string& text : {finding.problem, finding.effect, finding.fix})
            EXPECT_EQ(text.find("geheim"), std::string::npos) << text;
    }
}

TEST(Check, EscapesValues) {
    const Finding finding = finding_of({"my_own=a\\x01b\\\\c"});
    EXPECT_EQ(finding.value, "a\\x01b\\\\c");
}

TEST(Check, SortsByKey) {
    EXPECT_EQ(found({"zzz=1", "wan_mode=x", "aaa=1", "lan_lease_time=0"}),
              (std::vector<std::string>{
                  "note aaa: is not a setting of rc",
                  "error lan_lease_time: is out of range; expected a number from 1 to 49710",
                  "error wan_mode: is not an allowed value; expected one of dhcpc, ip, pppoe, pptp,"
                  " l2tp, bpa, ras",
                  "note zzz: is not a setting of rc",
              }));
}

}  // namespace
