// The search for sinks, with a test program instead of rc: one sink of each kind, and texts that
// must not be mistaken for one.

#include "plan/trace/sink_search.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/command.h"
#include "core/file.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/shell_line.h"
#include "core/text.h"
#include "plan/trace/sink_lines.h"
#include "rc/rc.h"

namespace {

// A backslash before each double quote, as for an account's password.
std::string escaped(const Setting& setting) {
    std::string out;
    for (const char c : setting.view()) {
        if (c == '"') out += '\\';
        out += c;
    }
    return out;
}

void write_files() {
    if (File script = open_file("/tmp/rules", "w")) {
        script.print("iptables -A IN -s %s -j DROP\n", nvram_text("in_script").text());
    }
    platform::run_shell("/bin/sh -x /tmp/rules");
    if (File table = open_file("/var/crontab", "w"))
        table.print("%d * * * root echo %s\n", nvram_text("as_number").number(),
                    nvram_text("in_crontab").text());
    if (File conf = open_file("/etc/daemon.conf", "w"))
        conf.print("name=%s\n", nvram_text("in_file").text());
}

}  // namespace

int rc_main(int, char**) {
    SYSTEM("/bin/prog -a %s -b", nvram_text("bare").text());
    SYSTEM("/bin/prog \"%s\" 'x'", nvram_text("in_double_quotes").text());
    SYSTEM("/bin/prog \"y\" '%s'", nvram_text("in_single_quotes").text());
    SYSTEM("/bin/prog \"%s\"", escaped(nvram_text("escaped")).c_str());
    SYSTEM("echo server %s > /etc/resolv.conf", nvram_text("by_echo").text());
    SYSTEM("/bin/prog -c %.5s", nvram_text("is_cut").text());
    const Setting long_enough = nvram_text("long_enough");
    if (long_enough.view().size() >= 4) SYSTEM("/bin/prog -l %s", long_enough.text());
    const Setting given = nvram_text("given");
    if (!given.view().starts_with('0')) SYSTEM("/bin/prog -g %s", given.text());
    write_files();
    // Settings of the table, in one line.
    if (nvram_text("log_dos").on())
        SYSTEM("/bin/known -i %s -n %d %s", nvram_text("wan_ifname").text(),
               nvram_text("wan_mtu").number(), nvram_text("wan_account").text());
    // The address may be fixed, or leased later.
    if (nvram_text("l2tp_type").on() || getIPAddress(nvram_text("wan_phy_ifname").text()))
        SYSTEM("/bin/known -s %s", nvram_text("l2tp_server").text());
    // Compared and counted, but nowhere written.
    if (nvram_text("compared").is("yes")) print_line("yes");
    // The second field of a record, after a check of the first.
    const Setting record = nvram_text("record");
    std::string_view rest = record.view();
    if (take_field(rest, ':') == "on")
        SYSTEM("/bin/prog -r %s", std::string(take_field(rest, ':')).c_str());
    return 0;
}

namespace {

using testing::UnorderedElementsAre;

constexpr nvram::Quoting bare = nvram::Quoting::Bare;
// All special characters: the text arrives unchanged.
const std::string everything(special_characters);

std::string without(std::string text, char gone) {
    std::erase(text, gone);
    return text;
}

TEST(Sinks, OneOfEachKindIsFoundAndNothingElse) {
    const std::vector<std::string> words = {"rc", "planted", "start"};
    const World router = router_with({},
                                     {{"record", "on:value:7"},
                                      {"compared", "yes"},
                                      {"as_number", "5"},
                                      {"long_enough", "12:34"}},
                                     words);
    SinkSearch search;
    search.play_plain(router, words);
    search.play_marked(router, words);
    // A redirected echo is not followed if the shell would change the text.
    const std::string echoed = "\n\t !#%&'()*;<>?[]^{|}~";
    std::vector<FoundSink> found = search.found();
    const auto echo = std::ranges::find(found, "/etc/resolv.conf", &FoundSink::place);
    ASSERT_NE(echo, found.end());
    EXPECT_EQ(echo->key, "by_echo");
    EXPECT_EQ(echo->quoting, nvram::Quoting::File);
    EXPECT_EQ(echo->line, "server \x01");
    found.erase(echo);
    EXPECT_THAT(
        found,
        UnorderedElementsAre(
            FoundSink{"bare", bare, "command", "/bin/prog -a \x01 -b", everything, ""},
            FoundSink{"in_double_quotes", nvram::Quoting::DoubleQuoted, "command",
                      "/bin/prog \"\x01\" 'x'", everything, ""},
            FoundSink{"in_single_quotes", nvram::Quoting::SingleQuoted, "command",
                      "/bin/prog \"y\" '\x01'", everything, ""},
            FoundSink{"escaped", nvram::Quoting::DoubleQuoted, "command", "/bin/prog \"\x01\"",
                      without(everything, '"'), ""},
            FoundSink{"by_echo", bare, "command", "echo server \x01 > /etc/resolv.conf", everything,
                      ""},
            FoundSink{"in_script", bare, "/tmp/rules", "iptables -A IN -s \x01 -j DROP", everything,
                      ""},
            FoundSink{"in_crontab", nvram::Quoting::Crontab, "/var/crontab",
                      "5 * * * root echo \x01", everything, ""},
            FoundSink{"in_file", nvram::Quoting::File, "/etc/daemon.conf", "name=\x01", everything,
                      ""},
            FoundSink{"is_cut", bare, "command", "/bin/prog -c \x01", everything, "", "<5"},
            FoundSink{"long_enough", bare, "command", "/bin/prog -l \x01", everything, "", ">4"},
            FoundSink{"given", bare, "command", "/bin/prog -g \x01", everything, "", "!0"},
            FoundSink{"record", bare, "command", "/bin/prog -r \x01", everything, ""}));
}

TEST(Sinks, UsesAreTheSettingsThatWereRead) {
    const std::vector<std::string> words = {"rc", "planted", "start"};
    SinkSearch search;
    search.play_plain(router_with({}, {}, words), words);
    EXPECT_EQ(search.uses().size(), 17U);
    EXPECT_THAT(search.uses().at("compared"), UnorderedElementsAre("planted"));
}

// Without a working copy an action begins with the boot, whose settings are not its own.
TEST(Sinks, UsesOfTheBootAreNotTheActions) {
    SinkSearch search;
    search.play_plain(World(), {"rc", "planted", "start"});
    EXPECT_TRUE(search.uses().empty());
}

// Other settings stand in a line by their names, and what is computed from them is left open; the
// line depends on the setting that turns it on.
TEST(Sinks, LinesNameOtherSettings) {
    const std::vector<std::string> words = {"rc", "planted", "start"};
    const World router = router_with(
        {}, {{"log_dos", "1"}, {"wan_ifname", "eth2"}, {"wan_mtu", "1400"}, {"wan_account", "me"}},
        words);
    SinkSearch search;
    search.play_marked(router, words);
    std::vector<FoundSink> found = search.found();
    std::erase_if(found,
                  [](const FoundSink& sink) { return sink.line.find("known") == sink.line.npos; });
    EXPECT_THAT(found,
                UnorderedElementsAre(FoundSink{"wan_account", bare, "command",
                                               "/bin/known -i \x02wan_ifname\x02 -n \x03 \x01",
                                               everything, "", "log_dos^1"},
                                     FoundSink{"wan_ifname", bare, "command",
                                               "/bin/known -i \x01 -n \x03 \x02wan_account\x02",
                                               everything, "", "log_dos^1"}));
}

// A line that is only written once the WAN is up does not depend on settings for that.
TEST(Sinks, LinesOfALaterStateCount) {
    const std::vector<std::string> words = {"rc", "planted", "start"};
    const World router = router_with(
        {}, {{"l2tp_type", "1"}, {"wan_phy_ifname", "eth2.2"}, {"l2tp_server", "lns"}}, words);
    SinkSearch search;
    search.play_marked(router, words);
    std::vector<FoundSink> found = search.found();
    std::erase_if(found, [](const FoundSink& sink) { return sink.key != "l2tp_server"; });
    EXPECT_THAT(found, UnorderedElementsAre(FoundSink{"l2tp_server", bare, "command",
                                                      "/bin/known -s \x01", everything, ""}));
}

struct GeneralRow {
    const char* line;
    const char* other;
    const char* general;
};

class GeneralTest : public testing::TestWithParam<GeneralRow> {};

TEST_P(GeneralTest, KeepsWhatBothLinesHold) {
    EXPECT_EQ(generalised(GetParam().line, GetParam().other), GetParam().general);
}

INSTANTIATE_TEST_SUITE_P(Rows, GeneralTest,
                         testing::Values(GeneralRow{"a \x01 b", "a \x01 b", "a \x01 b"},
                                         GeneralRow{"a 1 \x01 b", "a 2 \x01 b", "a \x03 \x01 b"},
                                         // Never half a number or a name.
                                         GeneralRow{"x=120; \x01", "x=125; \x01", "x=\x03; \x01"},
                                         // Words more or less.
                                         GeneralRow{"a \x01 b c", "a \x01 b x y c",
                                                    "a \x01 b \x03 c"},
                                         GeneralRow{"a b \x01", "a \x01", "a \x03 \x01"},
                                         // What is open already stays so.
                                         GeneralRow{"a \x03 \x01", "a 2 \x01", "a \x03 \x01"}));

// A text that stands in a line twice, once up to its last dot.
TEST(Lines, MayHoldAPartOfTheText) {
    EXPECT_EQ(generalised_words("p -r \x01-\x01.9 -x \x01", "p -r \x01-a.9 -x \x01"),
              "p -r \x01-\x03.9 -x \x01");
    EXPECT_EQ(generalised_words("p \x01 \x01", "p \x01 a"), "p \x01 \x03");
    EXPECT_EQ(generalised_words("p \x01", "p \x01 more"), "p \x01");
}

TEST(Lines, AreOfASink) {
    EXPECT_TRUE(is_line_of("p -a \x01 -b", "x", "p -a x -b"));
    EXPECT_FALSE(is_line_of("p -a \x01 -b", "x", "p -a xy -b"));
    EXPECT_FALSE(is_line_of("p -a \x01 -b", "x", "p -a x -b c"));
    EXPECT_TRUE(is_line_of("p \x03 \x01", "x", "p 1 2 x"));
    EXPECT_TRUE(is_line_of("p \x02lan_if\x02:\x01", "x", "p br0:x"));
    EXPECT_FALSE(is_line_of("p \x02lan_if\x02:\x01", "x", "p br0.x"));
}

struct QuotingRow {
    const char* line;  // with @ at the place
    nvram::Quoting quoting;
};

class QuotingTest : public testing::TestWithParam<QuotingRow> {};

TEST_P(QuotingTest, IsThatOfTheShell) {
    const std::string line = GetParam().line;
    EXPECT_EQ(quoting_at(line, line.find('@')), GetParam().quoting) << line;
}

INSTANTIATE_TEST_SUITE_P(Rows, QuotingTest,
                         testing::Values(QuotingRow{"a @", bare},
                                         QuotingRow{"a \"@\"", nvram::Quoting::DoubleQuoted},
                                         QuotingRow{"a '@'", nvram::Quoting::SingleQuoted},
                                         QuotingRow{"a \"'\" @", bare},
                                         QuotingRow{"a \"it's @\"", nvram::Quoting::DoubleQuoted},
                                         QuotingRow{"a 'say \"@\"'", nvram::Quoting::SingleQuoted},
                                         QuotingRow{"a \\\"@", bare},
                                         QuotingRow{"a \"\\\"@\"", nvram::Quoting::DoubleQuoted},
                                         QuotingRow{"a '\\' @", bare},
                                         // pppd gives its pty option to a shell again.
                                         QuotingRow{"pppd pty 'pptp @ x' user u", bare},
                                         QuotingRow{"pppd pty 'pptp s' user @", bare}));

}  // namespace
