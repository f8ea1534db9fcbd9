// The pages generated from a planted table, entry by entry.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "planted.h"
#include "reference/reference.h"
#include "reference/words.h"

namespace {

// The lines from the first of an entry to the next line with the same beginning.
std::string part(const std::string& page, const std::string& first, const std::string& next) {
    const size_t begin = page.find(first);
    if (begin == std::string::npos) return "no line " + first;
    return page.substr(begin, page.find(next, begin + 1) - begin);
}

std::string markdown(const std::string& key) {
    return part(settings_markdown(planted::reference), "\n### " + key + "\n", "\n### ");
}

std::string man(const std::string& key) {
    return part(settings_man_page(planted::reference), ".It Va \\&" + key + "\n", "\n.It Va");
}

TEST(Words, DescribeTheForm) {
    const std::pair<const char*, const char*> rows[] = {
        {"house_name", "text, at most 12 characters"},
        {"light", "a flag: 1 (on) or 0 (off)"},
        {"floors", "a number from 1 to 300"},
        {"colour", "one of red, light-blue, or empty"},
        {"town", "one of Rome, New York"},
        {"address", "an IPv4 address, or empty"},
        {"netmask", "an IPv4 netmask"},
        {"mac", "a MAC address"},
        {"port", "a network interface name"},
        {"server", "a host name or an IPv4 address"},
        {"wep", "10 hexadecimal digits"},
        {"open", "records separated by the byte \\x01, or empty"},
        {"doors", "records separated by spaces; the first 3 are used"},
        {"guests",
         "records separated by ';', after 4 ignored characters, or empty; the first 2 whose "
         "field on is 1 are used"},
    };
    for (const auto& [key, words] : rows)
        EXPECT_EQ(joined(in_words(planted::row(key))), words) << key;
    EXPECT_EQ(joined(in_words(planted::guest_fields[1])), "an IPv4 address, or 0, any");
}

TEST(Words, ClausesBecomeSentences) {
    EXPECT_EQ(sentence("the light is on (1)"), "The light is on (1).");
    EXPECT_EQ(sentence("rc counts them"), "rc counts them.");
    EXPECT_EQ(sentence("wan_mtu is taken"), "wan_mtu is taken.");
    EXPECT_EQ(sentence("Done."), "Done.");
    EXPECT_EQ(sentence(""), "");
}

TEST(Markdown, ShowsEveryPartOfARow) {
    EXPECT_EQ(markdown("light"),
              "\n### light\n"
              "\n"
              "The light is on (1).\n"
              "\n"
              "- Form: a flag: 1 (on) or 0 (off)\n"
              "- Factory value: `0`\n"
              "- If empty: the light is off\n"
              "- If not set: the light is broken\n"
              "- Used by: `rc wan`, `rc firewall`\n");
}

TEST(Markdown, TheFormListsChoicesAndEmpty) {
    const std::string entry = markdown("colour");
    EXPECT_NE(entry.find("- Form: one of `red`, `light-blue`, or empty\n"
                         "- Factory value: empty\n"),
              std::string::npos)
        << entry;
}

TEST(Markdown, EscapesMarkupInHelp) {
    EXPECT_NE(markdown("colour").find("Of the walls, \\*not\\* of the_roof\\_."),
              std::string::npos);
}

TEST(Markdown, ListsTheFieldsOfRecords) {
    EXPECT_EQ(
        markdown("doors"),
        "\n### doors\n"
        "\n"
        "Its doors.\n"
        "\n"
        "- Form: records separated by spaces; the first 3 are used\n"
        "- Record format: `name\\x02protocol|port`\n"
        "\n  | field | form | meaning |\n  |---|---|---|\n  | `name` | text, at most 8 characters,"
        " or empty |  |\n  | `protocol` | one of `tcp`, `udp` |  |\n  | `port` | a number from 1"
        " to 65535 |  |\n"
        "\n"
        "- Factory value: `\\x02tcp|80`\n"
        "- Used by: no action of `rc`\n");
    EXPECT_NE(markdown("open").find("  | `to_hour` | a number from 0 to 24 | 24 ends the day |\n"),
              std::string::npos);
    EXPECT_NE(markdown("guests").find("  | `address` | an IPv4 address, or `0`, `any` |  |\n"),
              std::string::npos);
    EXPECT_NE(markdown("open").find("- Example: `open=1:8:30-17:0\\x012:8:30-17:0`\n"),
              std::string::npos);
}

TEST(Markdown, MarksSecrets) {
    EXPECT_NE(markdown("wep").find("- Secret\n"), std::string::npos);
    EXPECT_EQ(markdown("mac").find("- Secret\n"), std::string::npos);
}

TEST(Markdown, TheContentsLinkToEachEntry) {
    const std::string contents =
        part(settings_markdown(planted::reference), "## Contents", "\n## House");
    EXPECT_EQ(
        contents,
        "## Contents\n"
        "\n"
        "- [House](#house): [house_name](#house_name),\n  [light](#light),\n  [floors](#floors),\n"
        "  [town](#town),\n  [colour](#colour)\n"
        "- [Net & port](#net--port): [address](#address),\n  [netmask](#netmask),\n "
        " [mac](#mac),\n  [port](#port),\n  [server](#server),\n  [wep](#wep),\n  [open](#open),\n"
        "  [doors](#doors),\n  [guests](#guests)\n");
}

TEST(Markdown, NumbersRepeatedHeadings) {
    constexpr nvram::KnownSetting rows[] = {
        {.key = "QoS", .form = nvram::Form::Flag, .help = "on (1)"},
        {.key = "settings", .form = nvram::Form::Flag, .help = "on (1)"}};
    const nvram::SettingGroup groups[] = {{.title = "QoS", .settings = rows}};
    const std::string page = settings_markdown({.groups = groups, .uses = {}});
    EXPECT_NE(page.find("- [QoS](#qos): [QoS](#qos-1),\n  [settings](#settings-1)\n"),
              std::string::npos);
}

TEST(ManPage, ShowsEveryPartOfARow) {
    EXPECT_EQ(man("light"),
              ".It Va \\&light\n"
              "The light is on (1).\n"
              ".Bl -tag -width \"factory value\" -compact\n"
              ".It form\n"
              "a flag: 1 (on) or 0 (off)\n"
              ".It factory value\n"
              ".Ql \\&0\n"
              ".It if empty\n"
              "the light is off\n"
              ".It if not set\n"
              "the light is broken\n"
              ".It used by\n"
              ".Ql rc \\&wan ,\n"
              ".Ql rc \\&firewall\n"
              ".El");
}

TEST(ManPage, ListsTheFieldsOfRecords) {
    EXPECT_EQ(man("doors"),
              ".It Va \\&doors\n"
              "Its doors.\n"
              ".Bl -tag -width \"factory value\" -compact\n"
              ".It form\n"
              "records separated by spaces; the first 3 are used\n"
              ".It record\n"
              ".Ql \\&name\\ex02protocol|port\n"
              ".It Em \\&name\n"
              "text, at most 8 characters, or empty\n"
              ".It Em \\&protocol\n"
              "one of\n"
              ".Ql \\&tcp ,\n"
              ".Ql \\&udp\n"
              ".It Em \\&port\n"
              "a number from 1 to 65535\n"
              ".It factory value\n"
              ".Ql \\&\\ex02tcp|80\n"
              ".It used by\n"
              "no action of rc\n"
              ".El");
}

TEST(ManPage, ShowsWordsAsLiterals) {
    EXPECT_NE(man("colour").find("one of\n.Ql \\&red ,\n.Ql \\&light\\-blue ,\nor empty\n"),
              std::string::npos);
    EXPECT_NE(man("town").find(".Ql \\&Rome ,\n.Ql \\&New\\ York\n"), std::string::npos);
    EXPECT_NE(man("open").find("a number from 0 to 24\n\\(en 24 ends the day\n"),
              std::string::npos);
    EXPECT_NE(man("guests").find("an IPv4 address, or\n.Ql \\&0 ,\n.Ql \\&any\n"),
              std::string::npos);
}

TEST(ManPage, EscapesRequestsInHelp) {
    constexpr nvram::KnownSetting rows[] = {{.key = "k",
                                             .form = nvram::Form::Text,
                                             .factory = ".x 'y",
                                             .when_empty = "'tis \"that\" - C:\\dir",
                                             .help = ".de is no request"}};
    const nvram::SettingGroup groups[] = {{.title = "G", .settings = rows}};
    const std::string page = settings_man_page({.groups = groups, .uses = {}});
    EXPECT_NE(page.find("\n\\&.de is no request.\n"), std::string::npos);
    EXPECT_NE(page.find("\n.Ql \\&.x\\ \\(aqy\n"), std::string::npos);
    EXPECT_NE(page.find("\n\\(aqtis \\(dqthat\\(dq \\- C:\\edir\n"), std::string::npos);
}

nlohmann::json property(const std::string& key) {
    return nlohmann::json::parse(settings_schema(planted::reference)).at("properties").at(key);
}

TEST(Schema, TextHasLengthLimits) {
    nlohmann::json found = property("house_name");
    const std::string pattern = found.at("pattern");
    found.erase("pattern");
    const nlohmann::json expected = {
        {"type", "string"},
        {"title", "What the house is called: on the door, and on letters"},
        {"description", "Text, at most 12 characters."},
        {"group", "House"},
        {"minLength", 1},
        {"maxLength", 12},
        {"default", "Home"}};
    EXPECT_EQ(found, expected);
    // Bytes count, not letters, and no control character is taken.
    EXPECT_TRUE(pattern.starts_with("^(?:(?:[ -~]{1,12}|")) << pattern;
    EXPECT_TRUE(pattern.ends_with("|[^\\x00-\\x1f\\x7f]{1,3}))$(?!\\n)")) << pattern;
}

TEST(Schema, FlagsAndChoicesAreListed) {
    EXPECT_EQ(property("light").at("enum"), nlohmann::json({"0", "1"}));
    EXPECT_EQ(property("light").at("title"), "The light is on (1)");
    EXPECT_EQ(property("light").at("description"),
              "A flag: 1 (on) or 0 (off). If empty: the light is off.");
    EXPECT_EQ(property("town").at("enum"), nlohmann::json({"Rome", "New York"}));
    EXPECT_EQ(property("colour").at("enum"), nlohmann::json({"", "red", "light-blue"}));
}

TEST(Schema, OtherFormsHaveAPatternForTheWholeValue) {
    EXPECT_EQ(property("mac").at("pattern"),
              "^(?:(?!00(?::00){5})[0-9A-Fa-f][02468ACEace](?::[0-9A-Fa-f]{2}){5})$(?!\\n)");
    const std::string optional = property("address").at("pattern");
    EXPECT_TRUE(optional.ends_with(")?$(?!\\n)")) << optional;
}

TEST(Schema, DescribesTheFieldsOfRecords) {
    EXPECT_EQ(
        property("doors").at("description"),
        "Records separated by spaces; the first 3 are used; record format name\\x02protocol|port; "
        "name: text, at most 8 characters, or empty; protocol: one of tcp, udp; "
        "port: a number from 1 to 65535.");
}

// What a page needs to show a list as a table.
TEST(Schema, TellsThePartsOfRecords) {
    const nlohmann::json expected = {
        {"between", " "},
        {"shape", "name\x02protocol|port"},
        {"skip", 0},
        {"fields",
         {{{"name", "name"}, {"help", "text, at most 8 characters, or empty"}},
          {{"name", "protocol"}, {"help", "one of tcp, udp"}, {"enum", {"tcp", "udp"}}},
          {{"name", "port"}, {"help", "a number from 1 to 65535"}}}}};
    EXPECT_EQ(property("doors").at("record"), expected);
    EXPECT_FALSE(property("mac").contains("record"));
}

TEST(Schema, SecretsAreWriteOnly) {
    EXPECT_EQ(property("wep").at("writeOnly"), true);
    EXPECT_FALSE(property("mac").contains("writeOnly"));
}

TEST(Schema, UnknownKeysAreStrings) {
    const nlohmann::json schema = nlohmann::json::parse(settings_schema(planted::reference));
    EXPECT_EQ(schema.at("$schema"), "https://json-schema.org/draft/2020-12/schema");
    EXPECT_EQ(schema.at("properties").size(), 14U);
    EXPECT_EQ(schema.at("additionalProperties").at("type"), "string");
}

TEST(ManPage, LongLiteralsMayBreakAtSeparators) {
    const std::string value =
        "a_b:c\x01"
        "d012345678901234567890123456789";
    nvram::KnownSetting open = planted::row("open");
    open.example = value.c_str();
    const nvram::SettingGroup groups[] = {{.title = "G", .settings = {&open, 1}}};
    const std::string page = settings_man_page({.groups = groups, .uses = {}});
    EXPECT_NE(page.find(".Ql \\&a_\\:b:\\:c\\:\\ex01d0123"), std::string::npos);
}

TEST(Secrets, AreListedByTheirShortestPrefix) {
    constexpr nvram::KnownSetting rows[] = {
        {.key = "wep", .form = nvram::Form::Text, .help = "on (1)"},
        {.key = "wep_key12", .form = nvram::Form::Text, .secret = true, .help = "second"},
        {.key = "wep_key1", .form = nvram::Form::Text, .secret = true, .help = "first"},
        {.key = "pin", .form = nvram::Form::Number, .secret = true, .help = "number"},
        {.key = "mail_password", .form = nvram::Form::Text, .secret = true, .help = "by its name"},
    };
    const nvram::SettingGroup groups[] = {{.title = "G", .settings = rows}};
    EXPECT_EQ(secret_beginnings({.groups = groups, .uses = {}}),
              "// Written by tools/renew.sh: rc_reference secret.\n"
              "\"pin\",\n"
              "\"wep_key1\",\n");
}

}  // namespace
