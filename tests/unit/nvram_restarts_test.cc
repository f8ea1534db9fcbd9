// The table of restarts: its applications are rc's, and every setting that rc uses is in it.
#include "nvram/restarts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "rc/apps.h"
#include "settings/uses.h"

namespace {

using nvram::Half;
using testing::ElementsAre;

nvram::Applications all_but(nvram::Applications left_out) {
    const nvram::Applications all = (nvram::Applications{1} << nvram::applications().size()) - 1;
    return all & ~left_out;
}

TEST(Restarts, TheApplicationsAreThoseOfRcInItsOrder) {
    std::vector<std::string> names;
    std::vector<bool> stops;
    const auto add = [&](const rc_app* app) {
        for (; app->name != nullptr; app++) {
            names.emplace_back(app->name);
            stops.push_back(app->stop != nullptr);
        }
    };
    add(rc_apps);
    names.emplace_back("wan");
    stops.push_back(true);
    add(rc_services);
    ASSERT_EQ(nvram::applications().size(), names.size());
    for (size_t i = 0; i < names.size(); i++) {
        EXPECT_EQ(nvram::applications()[i].name, names[i]);
        EXPECT_EQ(nvram::applications()[i].stops, stops[i]) << names[i];
    }
}

TEST(Restarts, EverySettingHasTheUsersThatTheReferenceNames) {
    for (const nvram::Use& use : nvram::setting_uses()) {
        std::string named;
        const nvram::Applications users = nvram::users_of(use.key);
        for (std::string_view words = use.actions; !words.empty();) {
            const std::string_view word = words.substr(0, words.find(' '));
            words.remove_prefix(std::min(words.size(), word.size() + 1));
            bool known = word == "init" && (users & nvram::at_boot) != 0;
            for (const char* const name : nvram::names_of(users, Half::Start))
                known = known || word == name;
            EXPECT_TRUE(known) << use.key << ": " << word;
        }
        EXPECT_NE(users, 0U) << use.key;
    }
    EXPECT_EQ(nvram::users_of("no_such_setting"), 0U);
    EXPECT_EQ(nvram::users_of(""), 0U);
    EXPECT_EQ(nvram::users_of("lan"), 0U);
}

TEST(Restarts, TheInternetSideIsRestartedAsAWhole) {
    const nvram::Applications wan =
        nvram::with_followers(nvram::users_of("pppoe_username") | nvram::users_of("fw_dmz"));
    EXPECT_THAT(nvram::names_of(wan, Half::Stop), ElementsAre(testing::StrEq("wan")));
    const nvram::Applications all = nvram::with_followers(all_but(0));
    EXPECT_THAT(nvram::names_of(all, Half::Start),
                ElementsAre(testing::StrEq("lan"), testing::StrEq("printk"), testing::StrEq("wlan"),
                            testing::StrEq("syslogd"), testing::StrEq("httpd"),
                            testing::StrEq("dhcpd"), testing::StrEq("ntp"), testing::StrEq("route"),
                            testing::StrEq("ripd"), testing::StrEq("upnp"), testing::StrEq("wan")));
    EXPECT_EQ(nvram::with_followers(nvram::users_of("fw_dmz")), nvram::users_of("fw_dmz"));
}

TEST(Restarts, OnlyWhatHasAStopHalfIsStopped) {
    const nvram::Applications users = nvram::users_of("lan_netmask");
    for (const char* const name : nvram::names_of(users, Half::Stop)) EXPECT_STRNE(name, "lan");
    EXPECT_THAT(nvram::names_of(users, Half::Start), testing::Contains(testing::StrEq("lan")));
}

// The start of the schedule does not write the crontab; that of the firewall does.
TEST(Restarts, TheCrontabIsTheFirewalls) {
    for (const char* const key : {"mail_sendlog", "mail_sh_hour", "mail_sh_day", "fw_schedule"})
        EXPECT_THAT(nvram::names_of(nvram::users_of(key), Half::Start),
                    testing::Contains(testing::StrEq("firewall")))
            << key;
}

TEST(Restarts, ANewLanAddressBringsTheRoutesBack) {
    const nvram::Applications lan = nvram::with_followers(nvram::users_of("ap_gateway"));
    EXPECT_THAT(nvram::names_of(lan, Half::Start),
                ElementsAre(testing::StrEq("lan"), testing::StrEq("wlan"), testing::StrEq("route"),
                            testing::StrEq("upnp")));
}

}  // namespace
