// The report's page: its content, that every link has a target, and that no text of a router
// becomes markup.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/text.h"
#include "plan/report/html.h"
#include "plan/report/report.h"
#include "plan/report/report_map.h"
#include "plan/report/report_page.h"
#include "rc/apps.h"
#include "settings/table.h"
#include "sound_page.h"

namespace {

using testing::HasSubstr;

TEST(Html, Escapes) {
    struct Row {
        std::string text;
        const char* escaped;
    };
    for (const Row& row : {
             Row{"plain text", "plain text"},
             Row{"<script>", "&lt;script&gt;"},
             Row{"a&amp;b", "a&amp;amp;b"},
             Row{"\"'`=", "&quot;&#39;`="},
             Row{"a\nb\t\x7f", "a\\x0ab\\x09\\x7f"},
             Row{"\xc3\xa9\xff", "\\xc3\\xa9\\xff"},
             Row{std::string("a\0b", 3), "a\\x00b"},
         })
        EXPECT_EQ(html_escaped(row.text), row.escaped);
    EXPECT_EQ(shown_line("a\t<\\ "), "a\\t&lt;\\\\\\s");
}

TEST(Html, AnchorsOfDifferentNamesDiffer) {
    struct Row {
        const char* name;
        const char* anchor;
    };
    for (const Row& row : {
             Row{"lan_if", "lan_if"},
             Row{"eth2.2", "eth2-2e2"},
             Row{"eth2-2e2", "eth2-2d2e2"},
             Row{"\"><a b", "-22-3e-3ca-20b"},
             Row{"", ""},
         })
        EXPECT_EQ(anchor(row.name), row.anchor);
}

// The digests of "" and "abc" are examples of FIPS 180-4.
TEST(Html, PolicySourcesAreInBase64) {
    EXPECT_EQ(policy_source("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"),
              "'sha256-47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU='");
    EXPECT_EQ(policy_source("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"),
              "'sha256-ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0='");
    EXPECT_EQ(policy_source("00"), "'sha256-AA=='");
}

void expect_shows(const std::string& page, const std::string& part) {
    EXPECT_TRUE(page.find(part) != std::string::npos) << "not in the page: " << part;
}

void expect_lacks(const std::string& page, const std::string& part) {
    EXPECT_TRUE(page.find(part) == std::string::npos) << "in the page: " << part;
}

std::string report_of(const World& world, const Settings& settings,
                      const std::vector<std::string>& words) {
    const Plan plan = make_plan(router_with(world, settings, words), words);
    return report_html(plan, trace(plan));
}

size_t count_of(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        count++;
    return count;
}

TEST(Report, ALineWithItsReasonsAndTheLinksBack) {
    const std::string page =
        report_of({}, {{"device_name", "R"}, {"http_timeout", "5"}}, {"rc", "httpd", "start"});
    expect_sound(page);
    expect_shows(page, "<title>Plan: rc httpd start</title>");
    expect_shows(page, "<dt>commands</dt><dd>2</dd>");
    expect_shows(page,
                 "<code>/usr/sbin/mini_httpd -d /usr/www -r &quot;R&quot; -c "
                 "&#39;*.cgi&#39; -t 300&amp;</code><details class=\"why\">");
    expect_shows(page,
                 "<li><a href=\"#setting-http_timeout\"><code>http_timeout</code>"
                 "</a>=<code>5</code></li>");
    expect_shows(page, "id=\"setting-http_timeout\"");
    expect_shows(page, "<td><code>5</code></td><td class=\"help\">");
}

// The rules of a router with one forward.
std::string report_of_forward(const World& world) {
    return report_of(world,
                     {{"ap_mode", "0"},
                      {"fw_in_rules", "web:1:x:8000:80:tcp:9"},
                      {"fw_nat", "1"},
                      {"lan_if", "br0"},
                      {"lan_ipaddr", "192.168.1.1"},
                      {"lan_netmask", "255.255.255.0"},
                      {"wan_ifname", "eth2.2"},
                      {"wan_mode", "ip"},
                      {"wan_mtu", "1500"}},
                     {"rc", "firewall", "start"});
}

TEST(Report, TellsWhatIsOpenFromTheWan) {
    World world;
    world.interfaces["eth2.2"].address = "203.0.113.7";
    const std::string page = report_of_forward(world);
    expect_sound(page);
    expect_shows(page, "href=\"#open\"");
    expect_shows(page,
                 "<span>tcp 8000 from anyone to 192.168.1.9 port 80, always</span>"
                 " <span class=\"help\"><a href=\"#setting-fw_in_rules.1\">"
                 "<code>fw_in_rules entry 1</code></a>");
    // On the map, its chain is marked, and one to which only the LAN's packets come is not.
    expect_shows(page, "aria-label=\"chain PF, 1 rule, WAN\"");
    expect_shows(page, "aria-label=\"chain BLOCK, 3 rules\"");
}

TEST(Report, WithoutAnAddressItIsNotKnownWhatIsOpen) {
    const std::string page = report_of_forward({});
    expect_sound(page);
    expect_shows(page, "What is open is not known: the WAN has no address in this run;");
}

TEST(Report, WithoutAFirewallThereIsNoMap) {
    const std::string page = report_of({}, {}, {"rc", "httpd", "stop"});
    expect_sound(page);
    expect_lacks(page, "id=\"firewall\"");
    expect_lacks(page, "href=\"#firewall\"");
    expect_lacks(page, "id=\"open\"");
}

TEST(Report, ANestedRunUnfoldsBelowItsCommand) {
    const std::string page = report_of({}, {{"wan_mode", "dhcpc"}}, {"rc", "wan", "restart"});
    expect_sound(page);
    expect_shows(page,
                 "<code>/usr/sbin/rc service stop</code></div><details "
                 "class=\"nested\"><summary>nested run: ");
}

TEST(Report, OfASettingsImageOnlyStoredSettingsAreShown) {
    const Settings settings = {{"wan_mode", "dhcpc"}, {"wan_account", "keep-out"}};
    const std::string page = report_of({}, settings, {"rc", "wan", "start"});
    expect_sound(page);
    expect_shows(
        page, "<code>/tmp/nvram</code> <span class=\"note\">1 of 3 lines: those stored by the run");
    expect_lacks(page, "<code>wan_account=keep-out</code>");
}

TEST(Report, SecretsAreMaskedEverywhere) {
    const std::string page = report_of(
        {}, {{"http_username", "admin"}, {"http_password", "tRuStNo1"}}, {"rc", "httpd", "start"});
    expect_sound(page);
    expect_lacks(page, "tRuStNo1");
    expect_shows(page, "<code>admin:********</code>");
    expect_shows(page, "<code>http_password</code></th><td><code>********</code></td>");
}

// A file's name may hold a secret too.
TEST(Report, ASecretInAFilesNameIsMasked) {
    Plan plan;
    plan.words = {"rc", "x"};
    plan.before.put(working_copy, "http_password=tRuStNo1\n");
    plan.after.world.put(working_copy, "http_password=tRuStNo1\n");
    plan.after.inputs.insert({Input::Kind::Setting, "http_password"});
    plan.after.transcript.add_with_body("write", "/tmp/tRuStNo1.sh", "iptables -A INPUT -j DROP\n");
    plan.after.transcript.add("run", "/bin/sh /tmp/tRuStNo1.sh");
    plan.after.world.put("/tmp/tRuStNo1.sh", "iptables -A INPUT -j DROP\n");
    Provenance provenance;
    for (const size_t event : {size_t{0}, size_t{1}})
        provenance.add({event, 0},
                       {.input = {Input::Kind::Setting, "http_password"}, .answer = "tRuStNo1"});
    provenance.add({1, 0}, {.input = {Input::Kind::File, "/tmp/tRuStNo1.sh"}, .answer = {}});
    const std::string page = report_html(plan, provenance);
    expect_sound(page);
    expect_lacks(page, "tRuStNo1");
    expect_shows(page, "<code>/tmp/********.sh</code>");
    expect_shows(page, "there is no file /tmp/********.sh");
}

TEST(Report, SaysWhatItWasMadeOf) {
    const std::vector<std::string> words = {"rc", "httpd", "stop"};
    const Plan plan = make_plan(router_with({}, {{"lan_if", "br0"}}, words), words);
    const std::string page = report_html(plan, {},
                                         {.settings_file = "my<settings",
                                          .sets = {"lan_if=br0", "http_password=tRuStNo1"},
                                          .world_file = "",
                                          .date = "2026-11-22 07:00 UTC",
                                          .version = "rcplan 1.2"});
    expect_sound(page);
    expect_shows(page, "<dt>settings</dt><dd><code>my&lt;settings</code></dd>");
    expect_shows(page,
                 "<dt>changed settings</dt><dd><code>lan_if=br0</code> "
                 "<code>http_password=********</code></dd>");
    expect_shows(page, "<dt>world</dt><dd><span class=\"note\">none</span></dd>");
    expect_shows(page, "<dt>made on</dt><dd>2026-11-22 07:00 UTC</dd>");
    expect_shows(page, "<dt>version</dt><dd>rcplan 1.2</dd>");
    expect_lacks(page, "tRuStNo1");
}

TEST(Report, ShowsTheFindingsOfTheCheck) {
    const std::vector<std::string> words = {"rc", "httpd", "start"};
    const std::string page = report_of(
        {}, {{"http_timeout", "5"}, {"lan_ipaddr", "<192.168.1>"}, {"http_timeot", "7"}}, words);
    expect_sound(page);
    expect_shows(page, "<a href=\"#findings\">Check</a>");
    EXPECT_THAT(page, testing::ContainsRegex(
                          "<li class=\"line finding error\"><span class=\"verb\">error</span> "
                          "<code>lan_ipaddr</code> <span class=\"help\">contains &lt; and &gt;: "
                          "special to a shell outside quotes"));
    expect_shows(
        page,
        "<code>http_timeot</code> <span class=\"help\">is not a setting of rc; the nearest "
        "is http_timeout; rc ignores it");
    // Errors come before notes.
    EXPECT_LT(page.find("finding error"), page.find("finding note"));
    EXPECT_GT(page.rfind("finding note"), page.rfind("finding error"));
    // Without settings there is nothing to check.
    Plan plan;
    plan.words = {"rc", "x"};
    expect_lacks(report_html(plan, {}), "id=\"findings\"");
}

TEST(Report, ARuleSaysItsOwnEntryOfAList) {
    std::string list;
    for (int i = 1; i <= 15; i++)
        list += format("%srule%d:1:x:%d:80:tcp:%d", i == 1 ? "" : "\x01", i, 8000 + i, i + 1);
    const std::string page =
        report_of({}, {{"fw_in_rules", list}, {"fw_nat", "1"}}, {"rc", "firewall", "create"});
    expect_sound(page);
    expect_shows(page,
                 "<a href=\"#setting-fw_in_rules.14\"><code>fw_in_rules</code> entry 14</a>"
                 "=<code>rule14:1:x:8014:80:tcp:15</code>");
    // The list is shown once, as the setting's value.
    EXPECT_EQ(count_of(page,
                       "<li id=\"setting-fw_in_rules.14\"><code>rule14:1:x:8014:80:tcp:15"
                       "</code></li><li id=\"setting-fw_in_rules.15\">"),
              1U);
    EXPECT_EQ(count_of(page, "rule14:1:x:8014:80:tcp:15\\x01rule15"), 0U);
}

// Every secret that rc knows, in every run that may use it.
TEST(Report, NoSecretIsOnAnyPage) {
    Settings settings;
    for (const nvram::SettingGroup& group : nvram::setting_groups()) {
        for (const nvram::KnownSetting& known : group.settings) {
            settings[known.key] = known.factory;
            if (known.secret) settings[known.key] = "Hush" + std::to_string(settings.size());
        }
    }
    for (const char* key : {"wifi_present", "enable_ssid2", "ddns_enable", "log_enable",
                            "mail_enable", "mail_enable_auth", "mail_login"})
        settings[key] = "1";
    size_t masked = 0;
    const auto check = [&](const std::vector<std::string>& words) {
        SCOPED_TRACE(words[1]);
        const std::string page = report_of({}, settings, words);
        expect_lacks(page, "Hush");
        if (page.find("********") != page.rfind("********")) masked++;
    };
    for (const rc_app* app = rc_apps; app->name; app++) check({"rc", app->name, "start"});
    for (const char* mode : {"pppoe", "pptp", "l2tp", "bpa", "ras"}) {
        settings["wan_mode"] = mode;
        check({"rc", "wan", "start"});
    }
    for (const char* security : {"1", "2", "3", "4"}) {
        settings["wifi_wep_on"] = settings["wifi_wep_on2"] = security;
        check({"rc", "wlan", "start"});
    }
    // Secrets are used in lines: the web server's, the mail's, the radio's five times, two modes'.
    EXPECT_GE(masked, 9U);
}

TEST(Report, FirewallRulesLinkToTheirLinesAndSettings) {
    World world;
    world.interfaces["eth2.2"].address = "203.0.113.2";
    const std::string page = report_of(
        world, {{"lan_if", "br0"}, {"wan_ifname", "eth2.2"}, {"wan_mode", "ip"}, {"fw_nat", "1"}},
        {"rc", "firewall", "start"});
    expect_sound(page);
    expect_shows(page, "aria-label=\"chains of the table nat\"");
    expect_shows(page, "aria-label=\"chains of the table filter\"");
    expect_lacks(page, "aria-label=\"chains of the table mangle\"");
    expect_shows(page, "<code>FORWARD</code> <span class=\"policy DROP\">policy DROP");
    // A rule with its line in the script and its setting.
    EXPECT_THAT(page,
                testing::ContainsRegex("<code>-i br0 -j ACCEPT</code> <a class=\"place\" "
                                       "href=\"#produced-[0-9]*-[0-9]*\">/tmp/rules:[0-9]*</a>"
                                       "<span class=\"reasons\"><a href=\"#setting-lan_if\">"));
    // A jump links to its chain.
    expect_shows(page, "-j <a href=\"#chain-filter-DOS\">DOS</a></code>");
}

TEST(Report, AFileWithAZeroByteIsShownInHexadecimal) {
    Plan plan;
    plan.words = {"rc", "x"};
    plan.after.transcript.add_with_body("write", "/bytes", std::string("\0ab\n<c", 6));
    plan.after.world.put("/bytes", std::string("\0ab\n<c", 6));
    Provenance provenance;
    provenance.add({0, 2}, {.input = {Input::Kind::Setting, "lan_if"}, .answer = "br0"});
    const std::string page = report_html(plan, provenance);
    expect_sound(page);
    expect_shows(page, "<code>00 61 62 0a 3c 63</code>");
    expect_shows(page, "<summary>6 bytes</summary>");
}

// Each write of a growing binary file would repeat it.
TEST(Report, OfABinaryBodyTheTimelineShowsTheFirstRows) {
    Plan plan;
    plan.words = {"rc", "x"};
    std::string bytes(8 * 20, 'a');
    bytes[0] = '\0';
    plan.after.transcript.add_with_body("write", "/bytes", bytes);
    plan.after.world.put("/bytes", bytes);
    const std::string page = report_html(plan, {});
    expect_sound(page);
    // 7 whole rows in the timeline, 19 in the file.
    EXPECT_EQ(count_of(page, "<code>61 61 61 61 61 61 61 61</code>"), 7U + 19U);
    expect_shows(page, "<li class=\"note\">12 rows more</li>");
}

Netfilter tables_after(const std::string& script) {
    Transcript transcript;
    transcript.add_with_body("write", "/tmp/rules", script);
    transcript.add("run", "/bin/sh /tmp/rules");
    return netfilter_of(transcript);
}

TEST(ChainMap, ChainsAreNodesAndJumpsAreArrows) {
    const std::string map = chain_map(tables_after("iptables -N A\niptables -N B\niptables -N C\n"
                                                   "iptables -P INPUT DROP\n"
                                                   "iptables -A INPUT -p tcp -j A\n"
                                                   "iptables -A INPUT -j B\n"
                                                   "iptables -A INPUT -p udp -j A\n"
                                                   "iptables -A A -j B\n"
                                                   "iptables -A B -j DROP\n"),
                                      "filter");
    // INPUT, FORWARD, OUTPUT, A, B, C; two jumps of INPUT to A are one arrow.
    EXPECT_EQ(count_of(map, "<rect"), 6U);
    EXPECT_EQ(count_of(map, "<g class=\"jump\">"), 3U);
    EXPECT_THAT(map, HasSubstr("<title>rules 1, 3 of INPUT to A</title>"));
    EXPECT_THAT(map, HasSubstr("<title>rule 2 of INPUT to B</title>"));
    EXPECT_THAT(map, HasSubstr("<title>rule 1 of A to B</title>"));
    EXPECT_THAT(map, HasSubstr("aria-label=\"chain INPUT, DROP, 3 rules\""));
    EXPECT_THAT(map, HasSubstr("href=\"#chain-filter-FORWARD\" class=\"node built-in bare\""));
    EXPECT_THAT(map, HasSubstr("href=\"#chain-filter-C\" class=\"node own bare\""));
    EXPECT_THAT(map, HasSubstr("href=\"#chain-filter-B\" class=\"node own\""));
}

TEST(ChainMap, ALoopOfChainsIsDrawnToo) {
    const std::string map = chain_map(
        tables_after("iptables -N A\niptables -N B\niptables -A A -j B\niptables -A B -j A\n"),
        "filter");
    EXPECT_EQ(count_of(map, "<g class=\"jump\">"), 2U);
}

TEST(ChainMap, NamesAreEscapedAndCut) {
    const std::string map = chain_map(
        tables_after("iptables -N 'a<b'\niptables -N ABCDEFGHIJKLMNOPQRSTUVWXYZ01\n"), "filter");
    EXPECT_THAT(map, HasSubstr(">a&lt;b</text>"));
    EXPECT_THAT(map, HasSubstr(">ABCDEFGHIJKLMNOPQRSTUVW~</text>"));
    EXPECT_THAT(map, HasSubstr("aria-label=\"chain ABCDEFGHIJKLMNOPQRSTUVWXYZ01, no rules\""));
}

// Hostile values in every text of a router.
constexpr const char* hostile = "\"'><script>alert(1)</script>&#60;";

// Every text setting has a hostile value; every switch is on, so that the texts are used.
Settings hostile_settings() {
    Settings settings;
    for (const nvram::SettingGroup& group : nvram::setting_groups()) {
        for (const nvram::KnownSetting& known : group.settings) {
            const bool chooses = known.form == nvram::Form::Flag ||
                                 known.form == nvram::Form::Choice ||
                                 known.form == nvram::Form::Number;
            settings[known.key] = chooses ? "1" : hostile;
        }
    }
    settings["wan_mode"] = "pppoe";
    settings["ap_mode"] = "0";
    return settings;
}

TEST(Report, HostileTextsStayTexts) {
    World world;
    world.put("/etc/resolv.conf", std::string("nameserver ") + hostile + "\n");
    world.put("/etc/version-ft", hostile);
    world.outputs["/bin/ps -ax"] = hostile;
    const Settings settings = hostile_settings();
    size_t affected = 0;
    size_t runs = 0;
    const auto check = [&](const std::vector<std::string>& words) {
        SCOPED_TRACE(words[1]);
        const std::string page = report_of(world, settings, words);
        expect_sound(page);
        expect_lacks(page, "<script>alert");
        runs++;
        if (page.find("&lt;script&gt;alert(1)") != std::string::npos) affected++;
    };
    for (const rc_app* app = rc_apps; app->name; app++) check({"rc", app->name, "start"});
    check({"rc", "init"});
    check({"rc", hostile, "start"});
    check({"rc", "", "start"});
    // Such texts really appear in the pages.
    EXPECT_GT(affected, runs / 2);
}

// The same plan gives the same page: no dates, no memory addresses.
TEST(Report, IsReproducible) {
    const Plan plan = make_plan(router_with({}, {{"lan_if", "br0"}}, {"rc", "firewall", "start"}),
                                {"rc", "firewall", "start"});
    EXPECT_EQ(report_html(plan, {}), report_html(plan, {}));
}

}  // namespace
