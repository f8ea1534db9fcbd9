// Rows of the table of all settings: WAN, its logins, dynamic DNS.

#include <gtest/gtest.h>

#include <string>

#include "settings/table.h"

using namespace nvram;

namespace {

const KnownSetting& row(const char* key) {
    static const KnownSetting none = {.key = "", .form = Form::Record, .help = ""};
    const KnownSetting* found = find_known(key);
    EXPECT_NE(found, nullptr) << key;
    return found ? *found : none;
}

}  // namespace

TEST(KnownWanSettings, TheModesAreTheOnesThatStart) {
    const KnownSetting& mode = row("wan_mode");
    EXPECT_EQ(mode.form, Form::Choice);
    EXPECT_STREQ(mode.choices, "dhcpc ip pppoe pptp l2tp bpa ras");
    EXPECT_STREQ(mode.factory, "dhcpc");
    EXPECT_TRUE(mode.may_be_empty);
    EXPECT_STREQ(mode.when_empty, "no WAN is started");
}

TEST(KnownWanSettings, APortThatIsNotSetIsTheDefaultAndAnEmptyOneNamesNoInterface) {
    const KnownSetting& port = row("wan_phy_ifname");
    EXPECT_EQ(port.form, Form::Interface);
    EXPECT_FALSE(port.may_be_empty);
    EXPECT_STREQ(port.factory, "eth2.2");
    EXPECT_TRUE(std::string_view(port.when_absent).starts_with("the port is eth2.2"));
    EXPECT_EQ(std::string_view(port.when_empty).find("eth2.2"), std::string_view::npos);
}

TEST(KnownWanSettings, Mtus) {
    const struct {
        const char* key;
        const char* factory;
    } mtus[] = {{"wan_mtu", "1500"}, {"static_mtu", "1500"}, {"l2tp_mtu", "1464"}};
    for (const auto& expected : mtus) {
        const KnownSetting& mtu = row(expected.key);
        EXPECT_EQ(mtu.form, Form::Number) << expected.key;
        EXPECT_EQ(mtu.low, 68) << expected.key;
        EXPECT_EQ(mtu.high, 1500) << expected.key;
        EXPECT_STREQ(mtu.factory, expected.factory) << expected.key;
    }
    EXPECT_FALSE(row("wan_mtu").may_be_empty);
    EXPECT_TRUE(row("static_mtu").may_be_empty);
}

// A number other than 0 is on for one reader and not for another.
TEST(KnownWanSettings, WholeValuesAreChoicesAndFirstCharactersFlags) {
    for (const char* key : {"wan_fix_dns", "wan_dod", "pptp_type", "l2tp_type", "bpa_login"}) {
        EXPECT_EQ(row(key).form, Form::Choice) << key;
        EXPECT_STREQ(row(key).choices, "0 1") << key;
    }
    for (const char* key : {"pptp_dod", "l2tp_dod", "ras_dod", "ddns_enable", "ddns_use_wildcards"})
        EXPECT_EQ(row(key).form, Form::Flag) << key;
}

TEST(KnownWanSettings, AddressesNamesAndMacs) {
    const struct {
        const char* key;
        Form form;
        const char* factory;
    } rows[] = {
        {"fix_ipaddr", Form::Address, "0.0.0.0"},
        {"fix_netmask", Form::Netmask, "255.255.255.0"},
        {"fix_gateway", Form::Address, "0.0.0.0"},
        {"wan_dns1", Form::Address, ""},
        {"wan_dns2", Form::Address, ""},
        {"wan_dns3", Form::Address, ""},
        {"wan_macaddr", Form::Mac, ""},
        {"wan_account", Form::Host, ""},
        {"wan_domain", Form::Host, "lan"},
        {"pppoe_ipaddr", Form::Address, ""},
        {"pptp_server", Form::Address, ""},
        {"pptp_server_domain", Form::Host, ""},
        {"pptp_fix_netmask", Form::Netmask, "255.255.255.0"},
        {"pptp_wan_dns1", Form::Address, ""},
        {"l2tp_server", Form::Host, ""},
        {"l2tp_ipaddr", Form::Address, "0.0.0.0"},
        {"l2tp_netmask", Form::Netmask, "255.255.255.0"},
        {"ddns_host_name", Form::Host, ""},
    };
    for (const auto& expected : rows) {
        EXPECT_EQ(row(expected.key).form, expected.form) << expected.key;
        EXPECT_STREQ(row(expected.key).factory, expected.factory) << expected.key;
    }
}

TEST(KnownWanSettings, IdleMinutesFitPppdsSeconds) {
    for (const char* key : {"pppoe_idle", "pptp_idle", "l2tp_idle"}) {
        EXPECT_EQ(row(key).form, Form::Number) << key;
        EXPECT_EQ(row(key).low, 0) << key;
        EXPECT_EQ(row(key).high, 35791394) << key;
        EXPECT_STREQ(row(key).factory, "5") << key;
    }
}

TEST(KnownWanSettings, AccountsAreNeverCutAndTheirPasswordsAreSecret) {
    for (const char* mode : {"pppoe_", "pptp_", "l2tp_", "bpa_"}) {
        const std::string user = std::string(mode) + "username";
        const std::string password = std::string(mode) + "password";
        EXPECT_EQ(row(user.c_str()).form, Form::Text) << user;
        EXPECT_FALSE(row(user.c_str()).secret) << user;
        EXPECT_TRUE(row(password.c_str()).secret) << password;
        EXPECT_EQ(row(user.c_str()).high, 0) << user;
        EXPECT_EQ(row(password.c_str()).high, 0) << password;
    }
    EXPECT_TRUE(row("ddns_password").secret);
    EXPECT_FALSE(row("ddns_user_name").secret);
}

TEST(KnownWanSettings, AnEmptyDdnsSwitchIsOn) {
    EXPECT_STREQ(row("ddns_enable").when_empty, "dynamic DNS is on");
    EXPECT_FALSE(row("ddns_enable").may_be_empty);
}
