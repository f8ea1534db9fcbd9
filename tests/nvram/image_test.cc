// The text image: reading, tolerated errors, writing.
#include "libnvram/image.h"

#include <gtest/gtest.h>

#include <random>

#include "libnvram/secret.h"

namespace {

using namespace std::string_literals;

struct Row {
    std::string text;
    std::string written;
};

TEST(Image, ReadsAndWritesBack) {
    const Row rows[] = {
        {"", ""},
        {"\n\n", ""},
        {"a=1\n", "a=1\n"},
        {"a=1", "a=1\n"},
        {"a=\n", "a=\n"},
        {"a==b=\n", "a==b=\n"},
        {"# a=1\nb=2\n", "b=2\n"},
        {"b=2\na=1\n", "a=1\nb=2\n"},
        {"b=1\na=1\nb=3\na=2\nb=2\n", "a=2\nb=2\n"},
        {"B=1\na=2\n_=3\n-=4\n.=5\n0=6\n", "-=4\n.=5\n0=6\nB=1\n_=3\na=2\n"},
        {"a= 1 \n", "a= 1 \n"},
        {"a=#1\n", "a=#1\n"},
        {"a=x\\x01y\\x02z\n", "a=x\\x01y\\x02z\n"},
        {"a=x\x01y\x02z\x7f\t\n", "a=x\\x01y\\x02z\\x7f\\x09\n"},
        {"a=\\x0A\\x0a\\x41\n", "a=\\x0a\\x0aA\n"},
        {"a=\\\\\n", "a=\\\\\n"},
        {"a=\\\\x01\n", "a=\\\\x01\n"},
        {"a=\xc3\xa9\xff\n", "a=\xc3\xa9\xff\n"},
        // Invalid escapes are read literally; the writer escapes them correctly.
        {"a=\\\n", "a=\\\\\n"},
        {"a=\\n\n", "a=\\\\n\n"},
        {"a=\\x\n", "a=\\\\x\n"},
        {"a=\\x0\n", "a=\\\\x0\n"},
        {"a=\\x0g\n", "a=\\\\x0g\n"},
        {"a=\\x0G\\x0/\\x0:\\x0@\\x0`\n", "a=\\\\x0G\\\\x0/\\\\x0:\\\\x0@\\\\x0`\n"},
        {"a=\\xafz\\xFAZ\\x9A\\xa9\n", "a=\xafz\xFAZ\x9A\xa9\n"},
        {"a=\\x00\n", "a=\\\\x00\n"},
        {"a=C:\\temp\n", "a=C:\\\\temp\n"},
        {"a=\\\\\\x01\n", "a=\\\\\\x01\n"},
        // Lines that are not settings.
        {"nonsense\na=1\n", "a=1\n"},
        {"=1\na=1\n", "a=1\n"},
        {" a=1\na b=1\na=2\n", "a=2\n"},
        {"a=1\0002\nb=1\n"s, "b=1\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(nvram::Image(row.text).text(), row.written) << row.text;
        EXPECT_EQ(nvram::Image(row.written).text(), row.written) << row.text;
    }
}

TEST(Image, NamesBadLines) {
    std::vector<nvram::BadLine> bad;
    const std::string long_key(128, 'k');
    const nvram::Image image("a=1\n# c\n\nnonsense\nb c=1\n=\n" + long_key + "=1\nx=\0\n"s + "z=1",
                             &bad);
    ASSERT_EQ(bad.size(), 5U);
    EXPECT_EQ(bad[0].number, 4U);
    EXPECT_STREQ(bad[0].reason, "is not KEY=VALUE");
    EXPECT_EQ(bad[1].number, 5U);
    EXPECT_STREQ(bad[1].reason, "has an invalid key; use 1 to 127 of A-Z a-z 0-9 _ - .");
    EXPECT_EQ(bad[2].number, 6U);
    EXPECT_EQ(bad[3].number, 7U);
    EXPECT_EQ(bad[4].number, 8U);
    EXPECT_STREQ(bad[4].reason, "contains a zero byte");
    EXPECT_EQ(image.text(), "a=1\nz=1\n");
}

TEST(Image, LimitsValuesAndKeys) {
    const std::string longest_value(nvram::value_limit, 'v');
    const std::string longest_key(127, 'k');
    std::vector<nvram::BadLine> bad;
    const nvram::Image fits(longest_key + "=" + longest_value, &bad);
    EXPECT_TRUE(bad.empty());
    EXPECT_EQ(fits.get(longest_key), longest_value);

    const nvram::Image too_long("a=" + longest_value + "v\nb=1\n", &bad);
    ASSERT_EQ(bad.size(), 1U);
    EXPECT_STREQ(bad[0].reason, "has a value longer than 65536 bytes");
    EXPECT_EQ(too_long.text(), "b=1\n");
}

TEST(Image, FindsEveryKeyAndNoOther) {
    const nvram::Image image("lan_ipaddr=192.168.1.1\nlan=x\nlan_netmask=\n");
    EXPECT_EQ(image.get("lan"), "x");
    EXPECT_EQ(image.get("lan_ipaddr"), "192.168.1.1");
    EXPECT_EQ(image.get("lan_netmask"), "");
    for (const char* key : {"", "l", "lan_", "lan_ipadd", "lan_ipaddrs", "zzz"})
        EXPECT_FALSE(image.get(key).has_value()) << key;
}

TEST(Image, AnEmptyOneHasNoKeys) {
    nvram::Image image("");
    EXPECT_FALSE(image.get("a"));
    EXPECT_FALSE(image.apply({"a", nvram::no_value}));
    EXPECT_TRUE(image.apply({"a", "1"}));
    EXPECT_EQ(image.text(), "a=1\n");
}

TEST(Image, EndsEachValueWithAZeroByte) {
    const nvram::Image image("a=1\nb=x\\x01\nc=last");
    for (const nvram::Entry& entry : image.entries())
        EXPECT_EQ(entry.value.data()[entry.value.size()], '\0');
    EXPECT_STREQ(image.get("c")->data(), "last");
}

TEST(Image, SurvivesBeingMoved) {
    nvram::Image first("a=1\n");
    const nvram::Image second = std::move(first);
    EXPECT_EQ(second.get("a"), "1");
}

TEST(Image, Sets) {
    nvram::Image image("b=2\n");
    EXPECT_TRUE(image.set("a", "x\x01y"));
    EXPECT_TRUE(image.set("b", *image.get("a")));
    EXPECT_EQ(image.text(), "a=x\\x01y\nb=x\\x01y\n");
    EXPECT_FALSE(image.set("", "1"));
    EXPECT_FALSE(image.set("a b", "1"));
    EXPECT_FALSE(image.set("a", std::string(nvram::value_limit + 1, 'v')));
    EXPECT_EQ(image.text(), "a=x\\x01y\nb=x\\x01y\n");
}

TEST(Image, AppliesChanges) {
    nvram::Image image;
    EXPECT_TRUE(image.apply({"b", "1"}));
    EXPECT_FALSE(image.apply({"b", "1"}));
    EXPECT_TRUE(image.apply({"a", ""}));
    EXPECT_TRUE(image.apply({"c", "3"}));
    EXPECT_FALSE(image.apply({"a", ""}));
    EXPECT_EQ(image.text(), "a=\nb=1\nc=3\n");
    EXPECT_TRUE(image.apply({"b", nvram::no_value}));
    EXPECT_FALSE(image.apply({"b", nvram::no_value}));
    EXPECT_EQ(image.text(), "a=\nc=3\n");
}

// The lines outside stay as they are, whatever they are.
TEST(Image, TakesNoticeOfTheGivenLinesOnly) {
    const std::string before = "z=1\nnonsense\n";
    const std::string inside = "d=4\nb=\\x01\n";
    const std::string after = "c=3\n b=9";
    const nvram::Lines lines = {.begin = before.size(), .end = before.size() + inside.size()};
    std::vector<nvram::BadLine> bad;
    nvram::Image image(before + inside + after, &bad, lines);
    EXPECT_TRUE(bad.empty());
    ASSERT_EQ(image.entries().size(), 2U);
    EXPECT_EQ(image.get("b"), "\x01");
    EXPECT_FALSE(image.get("z"));
    EXPECT_FALSE(image.get("c"));
    EXPECT_EQ(image.text(), before + "b=\\x01\nd=4\n" + after);
    EXPECT_TRUE(image.apply({"c", "new"}));
    EXPECT_TRUE(image.apply({"d", nvram::no_value}));
    EXPECT_EQ(image.text(), before + "b=\\x01\nc=new\n" + after);
}

TEST(Image, TakesNoticeOfTheFirstOrTheLastLinesOnly) {
    nvram::Image first("a=1\nb=2\n", nullptr, {.begin = 0, .end = 4});
    EXPECT_TRUE(first.apply({"a", nvram::no_value}));
    EXPECT_EQ(first.text(), "b=2\n");
    nvram::Image last("a=1\nb=2\n", nullptr, {.begin = 4, .end = 8});
    EXPECT_TRUE(last.apply({"b", nvram::no_value}));
    EXPECT_EQ(last.text(), "a=1\n");
}

TEST(Image, KeepsEveryByteButZero) {
    std::mt19937 random(1);
    std::uniform_int_distribution<int> byte(1, 255);
    for (int round = 0; round < 500; ++round) {
        std::string value(static_cast<std::size_t>(round), '\0');
        for (char& c : value) c = static_cast<char>(byte(random));
        const nvram::Image image(nvram::serialise({{"a", value}, {"b", "end"}}));
        ASSERT_EQ(image.get("a"), value);
        ASSERT_EQ(image.entries().size(), 2U);
    }
}

TEST(Secret, KnowsThem) {
    for (const char* key :
         {"http_password", "mail_password", "pppoe_password", "pptp_password", "l2tp_password",
          "bpa_password", "ddns_password", "wifi_radius_pwd", "wifi_psk_pwd", "wifi_psk2_pwd",
          "wifi_psk_pwd2", "wifi_psk2_pwd5", "wifi_key1", "wifi_key4", "wifi_key12", "wifi_key43",
          "wifi_key15", "wsc_device_pin", "other_passwd"})
        EXPECT_TRUE(nvram::is_secret(key)) << key;
    for (const char* key :
         {"http_username", "wifi_key_len", "wifi_key_len2", "wifi_def_key", "wifi_wpapsk_key",
          "wifi_wpa2psk_key3", "wifi_radius_server", "lan_ipaddr", "fw_block_keyword", ""})
        EXPECT_FALSE(nvram::is_secret(key)) << key;
}

// Four times as long as it is without escapes, which is more than there was room for at first.
TEST(Image, WritesManyEscapes) {
    std::vector<std::string> keys;
    for (int i = 1000; i < 3000; ++i) keys.push_back("k" + std::to_string(i));
    std::vector<nvram::Entry> entries;
    std::string expected;
    for (const std::string& key : keys) {
        const std::size_t length = keys.size() - entries.size();
        static const std::string controls(2000, '\x01');
        entries.push_back({key, std::string_view(controls).substr(0, length)});
        expected += key + "=";
        for (std::size_t i = 0; i < length; ++i) expected += "\\x01";
        expected += "\n";
    }
    EXPECT_EQ(nvram::serialise(entries), expected);
    std::string one = "x=";
    nvram::append_escaped(one, entries.front().value);
    EXPECT_EQ(one.size(), 2U + 4 * 2000);
}

}  // namespace
