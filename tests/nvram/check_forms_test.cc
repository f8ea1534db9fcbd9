// nvram check: values by themselves, records field by field, what is missing and what is unknown.
#include "check_kit.h"
#include "settings/records.h"

namespace {

using namespace nvram;
using Texts = std::vector<std::string_view>;

constexpr Field period_fields[] = {{.name = "day", .form = Form::Number, .high = 6},
                                   {.name = "from", .form = Form::Number, .high = 23},
                                   {.name = "to", .form = Form::Number, .high = 24}};
constexpr Record periods = {.between = '\x01', .shape = "day:from-to", .fields = period_fields};
constexpr Record behind_four = {.between = ' ',
                                .shape =
                                    "day\x02"
                                    "from\x02"
                                    "to",
                                .fields = period_fields,
                                .passed_over = 4};
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
    EXPECT_EQ(split_records(behind_four, "abc"), Texts());
    EXPECT_EQ(split_records(behind_four, "a cd1 2"), Texts({"1", "2"}));
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
    EXPECT_EQ(split_fields(behind_four,
                           "1\x02"
                           "8\x02"
                           "17"),
              Texts({"1", "8", "17"}));
    EXPECT_EQ(field_place(periods, "to"), 2U);
    EXPECT_EQ(field_place(periods, "none"), 3U);
}

TEST(Check, FindsNothingInSoundSettings) {
    EXPECT_EQ(found({}), std::vector<std::string>());
}

TEST(Check, FindsTheFactorysOwnWeakness) {
    EXPECT_EQ(found({"http_password=1234", "wifi_wep_on=0"}),
              (std::vector<std::string>{
                  "note http_password: is the factory's, which everybody knows",
                  "note wifi_wep_on: leaves the first network open",
              }));
}

TEST(Check, FindsValuesThatAreNotOfTheirForm) {
    expect_rows({
        {{"fw_remote_port=80800"},
         {"error fw_remote_port: is out of range: a number from 1 to 65535 is wanted"}},
        {{"fw_remote_port="},
         {"error fw_remote_port: is empty: a number from 1 to 65535 is wanted"}},
        {{"wan_mode=dhcp"},
         {"error wan_mode: is none of rc's words: one of dhcpc, ip, pppoe, pptp, l2tp, bpa, ras is"
          " wanted"}},
        {{"log_dos=on"}, {"error log_dos: is neither on nor off: 1 (on) or 0 (off) is wanted"}},
        {{"log_dos=1x"}, {"warning log_dos: is longer than a flag"}},
        {{"wan_dns1=8.8.8"},
         {"error wan_dns1: is no IPv4 address: an IPv4 address such as 192.168.1.1 is wanted"}},
        {{"fix_netmask=255.0.255.0"},
         {"error fix_netmask: is no netmask, since its ones do not stand together: a netmask such"
          " as 255.255.255.0 is wanted"}},
        {{"wan_macaddr=02:00:00:00:00"},
         {"error wan_macaddr: is no MAC address: a MAC address such as 00:11:22:33:44:55 is"
          " wanted"}},
        {{"wan_phy_ifname=an_interface_too_long"},
         {"error wan_phy_ifname: is no name of an interface: an interface's name of 1 to 15"
          " characters is wanted"}},
        {{"ntp_server=no_such"},
         {"error ntp_server: is neither a host name nor an address: a host name or an IPv4 address"
          " is wanted"}},
        {{"wifi_key15=12345"},
         {"error wifi_key15: has 5 digits: hexadecimal digits, from 10 to 26 of them is wanted"}},
    });
}

// Only a first character of 0 turns these off; the others are on with 1.
TEST(Check, SaysWhatBecomesOfAWrongFlag) {
    EXPECT_EQ(finding_of({"log_access=yes"}).effect,
              "takes it as off: only a value that begins with 1 is on");
    EXPECT_EQ(finding_of({"ddns_use_wildcards=no"}).effect,
              "takes it as on: only a value that begins with 0 is off");
    EXPECT_EQ(finding_of({"dhcp_server_enable=yes"}).effect,
              "neither starts the DHCP server nor deletes its leases");
    EXPECT_EQ(finding_of({"log_dos=1x"}).effect,
              "looks at the first character, 1, and at no other");
}

TEST(Check, SaysWhatBecomesOfAWordThatIsNone) {
    EXPECT_EQ(finding_of({"ac_sch=yes"}).effect,
              "takes a number of 1 for by schedule, anything else for always");
    EXPECT_EQ(finding_of({"wifi_def_key5=9"}).effect, "hands it on as it stands");
}

TEST(Check, SaysWhatToWriteInstead) {
    const std::pair<const char*, const char*> rows[] = {
        {"fw_remote_port=80800", "fw_remote_port=8080"},
        {"wan_mode=dhcp", "wan_mode=dhcpc"},
        // Words of one letter are near to everything: none is proposed.
        {"wifi_BasicRate=x", "one of 0, 1, 2"},
        {"wan_mode=static", "one of dhcpc, ip, pppoe, pptp, l2tp, bpa, ras"},
        {"log_dos=1x", "log_dos=1"},
        {"wan_dns1=8.8.8", "an IPv4 address such as 192.168.1.1"},
        {"lan_lease_time=0", "lan_lease_time=1"},
    };
    for (const auto& [change, cure] : rows) EXPECT_EQ(finding_of({change}).cure, cure) << change;
}

TEST(Check, FindsTextsThatAreTooLong) {
    const std::string name(130, 'n');
    const Finding cut = finding_of({"device_name=" + name});
    EXPECT_EQ(shown(cut), "warning device_name: has 130 characters, and the most is 127");
    EXPECT_EQ(cut.effect, "keeps the first 127: '" + name.substr(0, 127) + "'");
    EXPECT_EQ(cut.cure, "device_name=" + name.substr(0, 127));
    EXPECT_EQ(found({"device_name=" + name.substr(0, 127)}), std::vector<std::string>());

    // rc does not cut this one.
    const Finding whole = finding_of({"wifi_ssid=" + name.substr(0, 33)});
    EXPECT_EQ(shown(whole), "error wifi_ssid: has 33 characters, and the most is 32");
    EXPECT_EQ(whole.effect, "hands all of it on, to a driver that takes no more than 32");
}

TEST(Check, FindsFieldsOfRecords) {
    const std::string good = "web:1:x:8080:80:tcp:10";
    expect_rows({
        {{"fw_in_rules=" + good}, {}},
        {{"fw_in_rules=" + good + "\\x01"}, {}},
        {{"fw_in_rules=:0::1:65535:udp:254"}, {}},
        {{"fw_in_rules=" + good + "\\x01ssh:1:x:22:22:tcpp:11"},
         {"error fw_in_rules: entry 2, field protocol: 'tcpp' is none of rc's words: one of tcp,"
          " udp is wanted"}},
        {{"fw_in_rules=" + good + "\\x01ssh:1:x:22:22:both:11"},
         {"error fw_in_rules: entry 2, field protocol: 'both' is none of rc's words: one of tcp,"
          " udp is wanted"}},
        {{"fw_in_rules=web:1:x:0:80:tcp:10"},
         {"error fw_in_rules: entry 1, field outside: '0' is out of range: a number from 1 to"
          " 65535 is wanted"}},
        {{"fw_in_rules=web:1:x:8080::tcp:10"},
         {"error fw_in_rules: entry 1, field inside: is empty: a number from 1 to 65535 is"
          " wanted"}},
        // Everything but 1 leaves an entry out, so 1x is a slip.
        {{"fw_in_rules=web:1x:x:8080:80:tcp:10"},
         {"error fw_in_rules: entry 1, field on: '1x' is none of rc's words: one of 0, 1 is"
          " wanted"}},
        {{"fw_in_rules=web:1:x:8080"},
         {"error fw_in_rules: entry 1: 'web:1:x:8080' ends before field inside"}},
        {{"fw_in_rules=" + good + "\\x01\\x01ssh:1:x:22:22:tcp:11"},
         {"note fw_in_rules: entry 2 is empty"}},
        {{"wifi_access_list=00:11:22:33:44:55\\x0100-11-22-33-44-66"},
         {"error wifi_access_list: entry 2, field mac: '00-11-22-33-44-66' is no MAC address: a MAC"
          " address such as 00:11:22:33:44:55 is wanted"}},
        {{"pcdb_list=a-name-of-sixteen;192.168.1.40;00:11:22:33:44:55"},
         {"warning pcdb_list: entry 1, field host: 'a-name-of-sixteen' has 17 characters, and the"
          " most is 15"}},
    });
    const Finding cut = finding_of({"pcdb_list=a-name-of-sixteen;192.168.1.40;00:11:22:33:44:55"});
    EXPECT_EQ(cut.effect, "keeps 'a-name-of-sixte'");
}

TEST(Check, CountsEntries) {
    std::string forwards;
    for (int port = 1; port <= 16; port++)
        forwards += "n:1:x:" + std::to_string(port) + ":80:tcp:10\\x01";
    EXPECT_EQ(found({"fw_in_rules=" + forwards}),
              (std::vector<std::string>{
                  "error fw_in_rules: has 16 entries that are on, and the most is 15"}));
    EXPECT_EQ(finding_of({"fw_in_rules=" + forwards}).effect, "does not use entry 16");
    // One that is off takes no place.
    EXPECT_EQ(finding_of({"fw_in_rules=off:0:x:99:80:tcp:10\\x01" + forwards}).effect,
              "does not use entry 17");
    EXPECT_EQ(found({"fw_in_rules=off:0:x:99:80:tcp:10\\x01" +
                     forwards.substr(0, forwards.rfind("n:1"))}),
              std::vector<std::string>());

    const Finding routes =
        finding_of({"rt_static_route=a:10.1.0.0:255.255.0.0:192.168.1.2:1:0:1 "
                    "b:10.2.0.0:255.255.0.0:192.168.1.2:1:0:1"});
    EXPECT_EQ(shown(routes), "error rt_static_route: has 2 entries, and the most is 1");
    EXPECT_EQ(routes.effect, "does not use entry 2");
}

TEST(Check, FindsWhatIsNotSet) {
    expect_rows({
        {{"-lan_bipaddr"}, {"error lan_bipaddr: is not set"}},
        {{"-wan_phy_ifname"}, {"warning wan_phy_ifname: is not set"}},
        {{"-wan_dns1"}, {}},
    });
    EXPECT_EQ(finding_of({"-lan_bipaddr"}).effect, "ifconfig fails, so the LAN gets no address");
    EXPECT_EQ(finding_of({"-wan_phy_ifname"}).effect,
              "the port is eth2.2; the firewall takes ether_wan_ifname");
    EXPECT_EQ(finding_of({"-lan_bipaddr"}).cure, "lan_bipaddr=192.168.1.255");
}

TEST(Check, FindsUnknownKeys) {
    expect_rows({
        {{"wan_mut=1400"}, {"note wan_mut: is no setting of rc's; there is wan_mtu"}},
        {{"LAN_IPADDR=1"}, {"note LAN_IPADDR: is no setting of rc's; there is lan_ipaddr"}},
        {{"my_own=1"}, {"note my_own: is no setting of rc's"}},
        // Interfaces of further connections are read by a name made of igmp_port.
        {{"wan_ifname2=ppp1"}, {}},
    });
    EXPECT_EQ(finding_of({"wan_mut=1400"}).cure, "wan_mtu=1400");
}

TEST(Check, ShowsNoSecret) {
    // A short pass phrase, a slip in a password's name, a key that would be one of a sixth network.
    for (const char* const change :
         {"wifi_psk2_pwd=geheim", "htp_pasword=geheim", "wifi_key16=geheim"}) {
        const Finding finding = finding_of({change});
        EXPECT_EQ(finding.value, "********") << change;
        for (const std::string& text : {finding.problem, finding.effect, finding.cure})
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
                  "note aaa: is no setting of rc's",
                  "error lan_lease_time: is out of range: a number from 1 to 49710 is wanted",
                  "error wan_mode: is none of rc's words: one of dhcpc, ip, pppoe, pptp, l2tp, bpa,"
                  " ras is wanted",
                  "note zzz: is no setting of rc's",
              }));
}

}  // namespace
