// Static routes: records, network addresses, look-ups.

#include "lan/routes.h"
#include "lan/unused.h"

#include <gtest/gtest.h>

#include "plan/router/recording.h"
#include "plan/router/settings.h"

namespace {

TEST(Routes, RecordsOfSevenFields) {
    const auto route = parse_route("office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:0 home:x");
    ASSERT_TRUE(route);
    EXPECT_EQ(route->name, "office");
    EXPECT_EQ(route->destination, "10.1.0.0");
    EXPECT_EQ(route->netmask, "255.255.0.0");
    EXPECT_EQ(route->gateway, "192.168.1.254");
    EXPECT_EQ(route->metric, 2);
    EXPECT_EQ(route->listed, 1);
    EXPECT_EQ(route->active, 0);
    EXPECT_EQ(parse_route(std::string(40, 'n') + ":d:m:g:1:1:1")->name, std::string(29, 'n'));

    EXPECT_EQ(parse_route("a:b:c:d:99999999999:1:1")->metric, 2147483647);
    for (const char* record : {
             "",
             "a",
             "a:b:c:d",
             "a:b:c:d:1:1",
             "a:b:c:d:1:1:",
             "a:b:c:d:x:1:1",
             ":b:c:d:1:1:1",
             "a::c:d:1:1:1",
             "a:b:c:d:1 :1:1",

         })
        EXPECT_FALSE(parse_route(record)) << record;
}

TEST(Routes, NetworkAddresses) {
    struct Row {
        const char* destination;
        const char* netmask;
        const char* network;
    };
    for (const Row& row : {
             Row{"192.168.5.7", "255.255.255.0", "192.168.5.0"},
             Row{"172.16.5.7", "255.255.0.0", "172.16.0.0"},
             Row{"172.16.5.0", "255.255.0.0", "172.16.5.0"},
             Row{"10.1.2.3", "255.0.0.0", "10.0.0.0"},
             Row{"10.1.0.3", "255.0.0.0", "10.0.0.0"},
             Row{"10.1.0.0", "255.0.0.0", "10.1.0.0"},
             Row{"10.1.2.0", "255.0.0.0", "10.1.2.0"},
             Row{"192.168.5.7", "255.255.255.255", "192.168.5.7"},
             Row{"192.168.5.7", "255.255.255.128", "192.168.5.7"},
             Row{"192.168.5.7", "255.255.0.255", "192.168.5.7"},
             Row{"192.168.5.7", "255.0.255.0", "192.168.5.0"},
             Row{"192.168.5.7", "255.0.0.255", "192.168.5.7"},
             Row{"192.168.5.7", "255.255.255.-1", "192.168.5.7"},
             Row{"192.168.5.7", "", "192.0.0.0"},
             Row{"", "255.255.255.0", "0.0.0.0"},
         })
        EXPECT_EQ(network_text(row.destination, row.netmask), row.network)
            << row.destination << " " << row.netmask;
}

TEST(Routes, MaskLengths) {
    struct Row {
        const char* netmask;
        int length;
    };
    for (const Row& row : {
             Row{"255.255.255.0", 24},
             Row{"0.0.0.0", 0},
             Row{"255.255.255.255", 0},
             Row{"255.255.255.254", 31},
             Row{"128.0.0.0", 1},
             Row{"255.255.255.252", 30},
             Row{"0.0.0.2", 31},
             Row{"0.0.0.1", 0},
             Row{"255.0.255.0", 24},
             Row{"mask", 0},
         })
        EXPECT_EQ(mask_length(row.netmask), row.length) << row.netmask;
}

TEST(Routes, LookUpsSplitAtBlanks) {
    Recording played;
    const Playing playing(played);
    played.world.put(working_copy, settings_image({{"rt_static_route",
                                                    "a:1.0.0.0:255.0.0.0:2.0.0.1:1:0:1 broken:1 "
                                                    " b:3.0.0.0:255.0.0.0:2.0.0.1:4:1:0"}}));
    StaticRoute route;
    EXPECT_EQ(rt_search(route, "b"), 0);
    EXPECT_EQ(route.destination, "3.0.0.0");
    EXPECT_EQ(route.metric, 4);
    for (const char* name : {"", "c", "broken", "A", "a "}) EXPECT_EQ(rt_search(route, name), 1);
    EXPECT_EQ(route.metric, 4) << "a name that is not there leaves the record alone";

    int flag = -1;
    EXPECT_EQ(rt_active("a", flag), 0);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(rt_listed("a", flag), 0);
    EXPECT_EQ(flag, 0);
    EXPECT_EQ(rt_active("b", flag), 0);
    EXPECT_EQ(flag, 0);
    EXPECT_EQ(rt_listed("b", flag), 0);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(rt_active("c", flag), 1);
    EXPECT_EQ(rt_listed("c", flag), 1);
    EXPECT_EQ(flag, 1);
}

}  // namespace
