// The radio's lists, escapes, and the functions that nothing in rc calls.

#include "wireless/wireless.h"
#include "core/run_state.h"
#include "recorded.h"
#include "wireless/unused.h"

namespace {

class WirelessTest : public RecordedTest {
  protected:
    FreshRunState state_;
};

constexpr const char* mac1 = "00:11:22:33:44:01";
constexpr const char* mac2 = "00:11:22:33:44:02";

TEST(AccessList, TheFirstSeventeenCharactersOfEachRecord) {
    struct Row {
        std::string records;
        std::string list;
    };
    const std::string one = mac1;
    const std::string two = mac2;
    for (const Row& row : {
             Row{"", ""},
             Row{"00:11:22:33:44:0", ""},
             Row{one, one},
             Row{one + "\x01", one},
             Row{one + "\x01" + two, one + ";" + two},
             Row{one + " my phone\x01" + two + " x", one + ";" + two},
             Row{one + "\x01" + "short", one},
             Row{one + two, one},
             Row{one + "x\x01" + two + "\x01" + one, one + ";" + two + ";" + one},
         })
        EXPECT_EQ(joined_access_list(row.records), row.list);
}

TEST(AccessList, IsCutAtWholeAddresses) {
    std::string records;
    for (int i = 0; i < 100; i++) records += std::string(mac1) + "\x01";
    const std::string list = joined_access_list(records);
    // 56 addresses and 55 separators; another would make 1025.
    EXPECT_EQ(list.size(), 56u * 17 + 55);
    EXPECT_TRUE(list.ends_with(mac1));
}

std::string wds_peers() {
    const Setting peers[] = {nvram_text("wds_list1"), nvram_text("wds_list2"),
                             nvram_text("wds_list3"), nvram_text("wds_list4")};
    return joined_wds_peers(peers);
}

TEST_F(WirelessTest, WdsPeersAreJoinedAndCounted) {
    set({{"wds_list1", mac1}, {"wds_list2", ""}, {"wds_list3", mac2}, {"wds_list4", "short"}});
    EXPECT_EQ(wds_peers(), std::string(mac1) + ";" + mac2);
    EXPECT_EQ(run_state().wds_peer_count, 2);
    wds_peers();
    EXPECT_EQ(run_state().wds_peer_count, 4) << "the count is the run's";
}

TEST_F(WirelessTest, WdsPeersAreCutWholeButCounted) {
    set({{"wds_list1", std::string(60, 'a')},
         {"wds_list2", std::string(70, 'b')},
         {"wds_list3", std::string(66, 'c')},
         {"wds_list4", std::string(5000, 'd')}});
    EXPECT_EQ(wds_peers(), std::string(60, 'a') + ";" + std::string(66, 'c'));
    EXPECT_EQ(run_state().wds_peer_count, 4);
}

TEST(RunState, NestedRunsHaveTheirOwn) {
    const FreshRunState outer;
    run_state().wds_peer_count = 3;
    {
        const FreshRunState inner;
        EXPECT_EQ(run_state().wds_peer_count, 0);
        run_state().wds_peer_count = 7;
    }
    EXPECT_EQ(run_state().wds_peer_count, 3);
}

TEST(Escapes, OnlyTheSetGetsABackslash) {
    std::string escaped = "old";
    ConertSpecialChar("", escaped, "`\"");
    EXPECT_EQ(escaped, "");
    ConertSpecialChar("a\"b`c\\d$e'f", escaped, "`\"");
    EXPECT_EQ(escaped, "a\\\"b\\`c\\d$e'f");
    ConertSpecialChar("abc", escaped, "");
    EXPECT_EQ(escaped, "abc");
    ConertSpecialChar(std::string(5000, '"').c_str(), escaped, "\"");
    EXPECT_EQ(escaped.size(), 10000u);
}

TEST_F(WirelessTest, TheEepromImageByteForByte) {
    std::string expected(512, '\xff');
    const auto put = [&](size_t offset, const std::string& bytes) {
        expected.replace(offset, bytes.size(), bytes);
    };
    put(0x000, std::string("\x60\x28\x01\x01", 4));
    put(0x004, std::string("\x02\x28\x60\x01\x01\x01", 6));
    put(0x00A, std::string("\x01\x06\x14\x18\x01\x80\x00\x00\x60\x28"
                           "\x14\x18\x00\x00\x01\x00\x6a\xff\x00\x02",
                           20));
    put(0x034, std::string("\x23\x01\x04\x00", 4));
    put(0x03A, std::string("\x14\x00", 2));
    put(0x044, std::string("\x0a\xff\x00\x00\x00\x00\x00\x00\x00\x00", 10));
    put(0x052, std::string("\x0a\x0a\x0b\x0c\x0d\x0e\x0e\x0e\x0f\x0f\x10\x10\x10\x10"
                           "\x11\x11\x11\x11\x11\x12\x12\x12\x13\x13\x14\x14\x14\x14",
                           28));
    put(0x0DE, std::string(
                   "\x66\x66\xcc\xaa\x88\x66\xcc\xaa\x88\x66\xcc\xaa\x88\x66\xcc\xaa\x88\x66", 18));
    EXPECT_EQ(write_eeprom_image(), 1);
    EXPECT_EQ(*played_.world.get("/etc/RT2880_eeprom_v1_0.bin"), expected);
    EXPECT_EQ(static_cast<unsigned char>(expected[4]) & 1, 0) << "a unicast address";

    played_.world.denied.insert({"/etc/RT2880_eeprom_v1_0.bin", "w"});
    EXPECT_EQ(write_eeprom_image(), 0);
}

TEST_F(WirelessTest, RepeaterLines) {
    struct Row {
        Settings settings;
        const char* lines;
    };
    for (const Row& row : {
             Row{{{"wifi_wep_on5", "0"}, {"ssid_apcli_wds", "far"}},
                 "ApCliEnable=1\nApCliAuthMode=OPEN\nApCliEncrypType=NONE\nApCliSsid=far\n"},
             Row{{{"wifi_wep_on5", "1"},
                  {"wifi_auth_type5", "1"},
                  {"wifi_def_key5", "2"},
                  {"wifi_key25", "abcde"},
                  {"ssid_apcli_wds", "far"}},
                 "ApCliEnable=1\nApCliAuthMode=OPEN\nApCliEncrypType=WEP\nApCliDefaultKeyID=2\n"
                 "ApCliKey2Type=0\nApCliKey2Str=abcde\nApCliSsid=far\n"},
             Row{{{"wifi_wep_on5", "1"}, {"wifi_auth_type5", "2"}, {"wifi_def_key5", "1"}},
                 "ApCliEnable=1\nApCLiAuthMode=SHARED\nApCliEncrypType=WEP\nApCliDefaultKeyID=1\n"
                 "ApCliKey1Type=0\nApCliKey1Str=\nApCliSsid=\n"},
             Row{{{"wifi_wep_on5", "1"}, {"wifi_auth_type5", "3"}},
                 "ApCliEnable=1\nApCliAuthMode=WEPAUTO\nApCliEncrypType=WEP\nApCliDefaultKeyID=\n"
                 "ApCliKeyType=0\nApCliKeyStr=\nApCliSsid=\n"},
             Row{{{"wifi_wep_on5", "2"},
                  {"wifi_wpapsk_key5", "TKIP"},
                  {"wifi_psk_pwd5", "phrase"},
                  {"ssid_apcli_wds", "far"}},
                 "ApCliEnable=1\nApCliAuthMode=WPAPSK\nApCliEncrypType=TKIP\nApCliSsid=far\n"
                 "ApCliWPAPSK=phrase\n"},
             Row{{{"wifi_wep_on5", "3"},
                  {"wifi_wpa2psk_key5", "AES"},
                  {"wifi_psk2_pwd5", "phrase"}},
                 "ApCliEnable=1\nApCliAuthMode=WPA2PSK\nApCliEncrypType=AES\nApCliSsid=\n"
                 "ApCliWPAPSK=phrase\n"},
             Row{{},
                 "ApCliEnable=1\nApCliAuthMode=WPA2PSK\nApCliEncrypType=\nApCliSsid=\n"
                 "ApCliWPAPSK=\n"},
         }) {
        set(row.settings);
        played_.world.put("/var/RT2860AP.dat", "Default\n");
        EXPECT_EQ(create_apcli_cfg(), 1);
        EXPECT_EQ(*played_.world.get("/var/RT2860AP.dat"), std::string("Default\n") + row.lines);
    }
    played_.world.denied.insert({"/var/RT2860AP.dat", "a"});
    EXPECT_EQ(create_apcli_cfg(), 0);
}

}  // namespace
