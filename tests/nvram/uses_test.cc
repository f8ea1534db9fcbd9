// Looking up which actions use a setting.
#include "settings/uses.h"

#include <gtest/gtest.h>

namespace {

TEST(Uses, AreFoundByTheWholeKey) {
    constexpr nvram::Use rows[] = {{"lan_if", "dhcpd lan"}, {"lan_ipaddr", "lan"}};
    EXPECT_EQ(nvram::actions_of(rows, "lan_if"), "dhcpd lan");
    EXPECT_EQ(nvram::actions_of(rows, "lan_ipaddr"), "lan");
    for (const char* key : {"", "lan", "lan_ip", "lan_ipaddr2"})
        EXPECT_EQ(nvram::actions_of(rows, key), "") << key;
    EXPECT_EQ(nvram::actions_of({}, "lan_if"), "");
}

}  // namespace
