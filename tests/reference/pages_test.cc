// The pages made of a planted table: entries and lines as a reader should find them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "planted.h"
#include "reference/reference.h"
#include "reference/words.h"

namespace {

// The lines from the one that begins an entry to the next that begins with the same.
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

TEST(Words, AreOfTheForm) {
    const std::pair<const char*, const char*> rows[] = {
        {"house_name", "text, of which 12 characters are kept"},
        {"light", "a flag: 1 is on, 0 is off"},
        {"floors", "a number from 1 to 300"},
        {"colour", "one of the words"},
        {"address", "an IPv4 address"},
        {"netmask", "an IPv4 netmask"},
        {"mac", "a MAC address"},
        {"port", "the name of a network interface"},
        {"server", "a host name or an IPv4 address"},
        {"wep", "10 hexadecimal digits"},
        {"open", "records parted by the byte \\x01"},
        {"doors", "up to 3 records parted by blanks"},
    };
    for (const auto& [key, words] : rows) EXPECT_EQ(form_in_words(planted::row(key)), words) << key;
}

TEST(Words, OfClausesMakeSentences) {
    EXPECT_EQ(sentence("the light is on (1)"), "The light is on (1).");
    EXPECT_EQ(sentence("rc counts them"), "rc counts them.");
    EXPECT_EQ(sentence("wan_mtu is taken"), "wan_mtu is taken.");
    EXPECT_EQ(sentence("Done."), "Done.");
    EXPECT_EQ(sentence(""), "");
}

TEST(Markdown, SaysWhatTheRowSays) {
    EXPECT_EQ(markdown("light"),
              "\n### light\n"
              "\n"
              "The light is on (1).\n"
              "\n"
              "- Form: a flag: 1 is on, 0 is off\n"
              "- Factory value: `0`\n"
              "- Empty: the light is off\n"
              "- Absent: the light is broken\n"
              "- Used by: `rc wan`, `rc firewall`\n");
}

TEST(Markdown, ChoicesAndEmptinessStandInTheForm) {
    const std::string entry = markdown("colour");
    EXPECT_NE(entry.find("- Form: one of the words `red`, `light-blue`, or empty\n"
                         "- Factory value: empty\n"),
              std::string::npos)
        << entry;
}

TEST(Markdown, HelpIsNoMarkup) {
    EXPECT_NE(markdown("colour").find("Of the walls, \\*not\\* of the_roof\\_."),
              std::string::npos);
}

TEST(Markdown, RecordsAreToldFieldByField) {
    EXPECT_EQ(markdown("doors"),
              "\n### doors\n"
              "\n"
              "Its doors.\n"
              "\n"
              "- Form: up to 3 records parted by blanks\n"
              "- Each record: `name\\x02protocol|port`\n"
              "\n"
              "  | field | form |\n"
              "  |---|---|\n"
              "  | `name` | text, of which 8 characters are kept, or empty |\n"
              "  | `protocol` | one of the words `tcp`, `udp` |\n"
              "  | `port` | a number from 1 to 65535 |\n"
              "\n"
              "- Factory value: `\\x02tcp|80`\n");
    EXPECT_NE(markdown("open").find("- Example: `open=1:8:30-17:0\\x012:8:30-17:0`\n"),
              std::string::npos);
}

TEST(Markdown, SecretsAreNamed) {
    EXPECT_NE(markdown("wep").find("- Secret\n"), std::string::npos);
    EXPECT_EQ(markdown("mac").find("- Secret\n"), std::string::npos);
}

TEST(Markdown, ContentsLeadToEachEntry) {
    const std::string contents =
        part(settings_markdown(planted::reference), "## Contents", "\n## House");
    EXPECT_EQ(contents,
              "## Contents\n"
              "\n"
              "- [House](#house): [house_name](#house_name),\n"
              "  [light](#light),\n"
              "  [floors](#floors),\n"
              "  [colour](#colour)\n"
              "- [Net & port](#net--port): [address](#address),\n"
              "  [netmask](#netmask),\n"
              "  [mac](#mac),\n"
              "  [port](#port),\n"
              "  [server](#server),\n"
              "  [wep](#wep),\n"
              "  [open](#open),\n"
              "  [doors](#doors)\n");
}

TEST(Markdown, ASecondHeadingOfTheSameNameIsNumbered) {
    constexpr nvram::KnownSetting rows[] = {
        {.key = "QoS", .form = nvram::Form::Flag, .help = "on (1)"},
        {.key = "settings", .form = nvram::Form::Flag, .help = "on (1)"}};
    const nvram::SettingGroup groups[] = {{.title = "QoS", .settings = rows}};
    const std::string page = settings_markdown({.groups = groups, .uses = {}, .examples = {}});
    EXPECT_NE(page.find("- [QoS](#qos): [QoS](#qos-1),\n  [settings](#settings-1)\n"),
              std::string::npos);
}

TEST(ManPage, SaysWhatTheRowSays) {
    EXPECT_EQ(man("light"),
              ".It Va \\&light\n"
              "The light is on (1).\n"
              ".Bl -tag -width \"factory value\" -compact\n"
              ".It form\n"
              "a flag: 1 is on, 0 is off\n"
              ".It factory value\n"
              ".Ql \\&0\n"
              ".It empty\n"
              "the light is off\n"
              ".It absent\n"
              "the light is broken\n"
              ".It used by\n"
              ".Ql rc \\&wan ,\n"
              ".Ql rc \\&firewall\n"
              ".El");
}

TEST(ManPage, RecordsAreToldFieldByField) {
    EXPECT_EQ(man("doors"),
              ".It Va \\&doors\n"
              "Its doors.\n"
              ".Bl -tag -width \"factory value\" -compact\n"
              ".It form\n"
              "up to 3 records parted by blanks\n"
              ".It each record\n"
              ".Ql \\&name\\ex02protocol|port\n"
              ".It Em \\&name\n"
              "text, of which 8 characters are kept\n"
              "or empty\n"
              ".It Em \\&protocol\n"
              "one of the words\n"
              ".Ql \\&tcp ,\n"
              ".Ql \\&udp\n"
              ".It Em \\&port\n"
              "a number from 1 to 65535\n"
              ".It factory value\n"
              ".Ql \\&\\ex02tcp|80\n"
              ".El\n"
              ".El\n"
              ".Sh FILES\n"
              ".Bl -tag -width /etc/default -compact\n"
              ".It Pa /tmp/nvram\n"
              "the working copy of the settings\n"
              ".It Pa /etc/default\n"
              "the factory settings\n"
              ".El\n"
              ".Sh SEE ALSO\n"
              ".Xr nvram 8 ,\n"
              ".Xr rc 8\n");
}

TEST(ManPage, NoCharacterOfAHelpIsARequest) {
    constexpr nvram::KnownSetting rows[] = {{.key = "k",
                                             .form = nvram::Form::Text,
                                             .factory = ".x 'y",
                                             .when_empty = "'tis \"that\" - C:\\dir",
                                             .help = ".de is no request"}};
    const nvram::SettingGroup groups[] = {{.title = "G", .settings = rows}};
    const std::string page = settings_man_page({.groups = groups, .uses = {}, .examples = {}});
    EXPECT_NE(page.find("\n\\&.de is no request.\n"), std::string::npos);
    EXPECT_NE(page.find("\n.Ql \\&.x\\ \\(aqy\n"), std::string::npos);
    EXPECT_NE(page.find("\n\\(aqtis \\(dqthat\\(dq \\- C:\\edir\n"), std::string::npos);
}

nlohmann::json property(const std::string& key) {
    return nlohmann::json::parse(settings_schema(planted::reference)).at("properties").at(key);
}

TEST(Schema, TextHasALength) {
    const nlohmann::json expected = {
        {"type", "string"},
        {"title", "What the house is called"},
        {"description", "What the house is called: on the door, and on letters."},
        {"minLength", 1},
        {"maxLength", 12},
        {"default", "Home"}};
    EXPECT_EQ(property("house_name"), expected);
}

TEST(Schema, FlagsAndChoicesAreListed) {
    EXPECT_EQ(property("light").at("enum"), nlohmann::json({"0", "1"}));
    EXPECT_EQ(property("light").at("title"), "The light is on");
    EXPECT_EQ(property("light").at("description"),
              "The light is on (1). When empty: the light is off.");
    EXPECT_EQ(property("colour").at("enum"), nlohmann::json({"", "red", "light-blue"}));
}

TEST(Schema, TheRestHasAPatternForTheWholeValue) {
    EXPECT_EQ(property("mac").at("pattern"), "^(?:[0-9A-Fa-f]{2}(?::[0-9A-Fa-f]{2}){5})$(?!\\n)");
    const std::string optional = property("address").at("pattern");
    EXPECT_TRUE(optional.ends_with(")?$(?!\\n)")) << optional;
}

TEST(Schema, SecretsAreOnlyWritten) {
    EXPECT_EQ(property("wep").at("writeOnly"), true);
    EXPECT_FALSE(property("mac").contains("writeOnly"));
}

TEST(Schema, OtherSettingsAreTexts) {
    const nlohmann::json schema = nlohmann::json::parse(settings_schema(planted::reference));
    EXPECT_EQ(schema.at("$schema"), "https://json-schema.org/draft/2020-12/schema");
    EXPECT_EQ(schema.at("properties").size(), 12U);
    EXPECT_EQ(schema.at("additionalProperties").at("type"), "string");
}

TEST(Completion, AnOptionMeansTheSameEverywhere) {
    const Program programs[] = {
        {.name = "p",
         .options = {},
         .verbs = {
             {.name = "a", .options = {{.name = "--to", .takes_word = true, .word = "file"}}},
             {.name = "b", .options = {{.name = "--to", .takes_word = true, .word = "key"}}}}}};
    EXPECT_THROW(bash_completion(planted::reference, programs), std::invalid_argument);
}

}  // namespace
