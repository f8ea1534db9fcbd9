// nvram check: values in the lines that rc writes, with planted lines.
#include "check_kit.h"

namespace {

using namespace nvram;

constexpr const char* all = "\n\t !\"#$%&'()*;<>?[\\]^`{|}~";

// One line of each kind.
constexpr Sink planted[] = {
    {"wan_account", Quoting::Bare, "command", "/usr/sbin/udhcpc -i eth2.2 -H \x01&", all, ""},
    {"device_name", Quoting::DoubleQuoted, "command", "/usr/sbin/mini_httpd -r \"\x01\" -t 300&",
     all, ""},
    {"ddns_user_name", Quoting::SingleQuoted, "command", "ez-ipupdate -u '\x01:secret' -h h", all,
     ""},
    {"bpa_username", Quoting::File, "/var/bpalogin.conf", "username \x01", all, ""},
    {"time_zone", Quoting::Crontab, "/var/crontab", "TZ=\x01", all, ""},
};

// Finds the error in each planted line, and none in harmless values.
TEST(CheckSinks, FindsAnErrorInEachKindOfLine) {
    struct Row {
        std::string change;
        std::string found;
        std::string effect;
        std::string fix;
    };
    const Row rows[] = {
        {"wan_account=a;b", "error wan_account: contains ;: special to a shell outside quotes",
         "runs: /usr/sbin/udhcpc -i eth2.2 -H a;b&", "a value without ;"},
        {"device_name=a\"b",
         "error device_name: contains \": special to a shell inside double quotes",
         "runs: /usr/sbin/mini_httpd -r \"a\"b\" -t 300&", "a value without \""},
        {"ddns_user_name=a'b", "error ddns_user_name: contains ': it ends the single quotes",
         "runs: ez-ipupdate -u 'a'b:secret' -h h", "a value without '"},
        {"bpa_username=a\\x0ab", "error bpa_username: contains a newline: it starts a new line",
         "writes into /var/bpalogin.conf: username a\\x0ab", "a value without a newline"},
        {"time_zone=GMT-1\\x0ax", "error time_zone: contains a newline: it starts a new line",
         "writes into /var/crontab: TZ=GMT-1\\x0ax", "a value without a newline"},
    };
    for (const Row& row : rows) {
        bool seen = false;
        for (const Finding& finding : findings({row.change}, planted)) {
            if (shown(finding) != row.found) continue;
            seen = true;
            EXPECT_EQ(finding.effect, row.effect);
            EXPECT_EQ(finding.fix, row.fix);
        }
        EXPECT_TRUE(seen) << row.change;
    }
    EXPECT_EQ(found({"wan_account=a-b", "device_name=A b", "ddns_user_name=a b$(x)",
                     "bpa_username=a\"b;c", "time_zone=GMT-7 2"},
                    planted),
              std::vector<std::string>());
}

// The findings for one text in one line, without the setting's name.
std::vector<std::string> found_in(Quoting quoting, const char* line, const std::string& text,
                                  const char* passes = all) {
    const Sink sinks[] = {{"mail_sender", quoting, "command", line, passes, ""}};
    std::vector<std::string> lines;
    const std::string name = " mail_sender: ";
    for (const std::string& finding : found({"mail_sender=" + text}, sinks)) {
        const std::size_t at = finding.find(name);
        EXPECT_NE(at, std::string::npos) << finding;
        lines.push_back(finding.substr(0, at) + " " + finding.substr(at + name.size()));
    }
    return lines;
}

struct SinkRow {
    const char* line;
    std::string text;
    std::vector<std::string> found;
};

void expect_in(Quoting quoting, const std::vector<SinkRow>& rows) {
    for (const SinkRow& row : rows)
        EXPECT_EQ(found_in(quoting, row.line, row.text), row.found) << row.line << "  " << row.text;
}

std::string bare(const std::string& characters) {
    return "error contains " + characters + ": special to a shell outside quotes";
}

const std::string control = "error contains a control character; expected a text";

std::string splits(const std::string& what) {
    return "warning contains " + what + ": a shell splits it into several words";
}

TEST(CheckSinks, FindsSpecialCharactersOutsideQuotes) {
    const char* const line = "prog \x01 x";
    std::vector<SinkRow> rows = {
        {line, "plain-text_1.2:3,@%+^!{}]", {}},
        {line, "a b", {splits("a space")}},
        {line, "a\\x09b", {control}},
        {line, "a\\x0ab", {bare("a newline")}},
        {line, "a;b;c&d", {bare("; and &")}},
        {line, "$(x) y", {bare("$, ( and )"), splits("a space")}},
        // At the start of a word only.
        {line, "#a", {bare("#")}},
        {line, "a#", {}},
        {line, "a #b", {bare("#"), splits("a space")}},
        {line, "~", {bare("~")}},
        {line, "a~", {}},
        {"prog x.\x01", "#~", {}},
        {"\x01", "#", {bare("#")}},
    };
    for (const char c : std::string("&|<>()$`\"'*?[")) {
        const std::string character(1, c);
        rows.push_back({line, "a" + character + "b", {bare(character)}});
    }
    rows.push_back({line, "a\\\\b", {bare("\\")}});
    expect_in(Quoting::Bare, rows);
}

// "echo 2>>file" writes nothing into the file: the number is the descriptor's.
TEST(CheckSinks, FindsNumbersBeforeRedirections) {
    const std::string number =
        "error ends in a number right before > or <: a shell reads it as a file descriptor";
    expect_in(Quoting::Bare,
              {{"echo domain \x01>>/etc/resolv.conf", "2", {number}},
               {"echo domain \x01>>/etc/resolv.conf", "lan2", {}},
               {"echo domain \x01>>/etc/resolv.conf", "10.0.0.2", {}},
               {"echo domain \x01>>/etc/resolv.conf", "a 2", {splits("a space"), number}},
               {"echo domain \x01 >>/etc/resolv.conf", "2", {}},
               {"echo x\x01>>/etc/resolv.conf", "2", {}}});
}

TEST(CheckSinks, FindsSpecialCharactersInsideDoubleQuotes) {
    const auto more = [](const std::string& characters) {
        return "error contains " + characters + ": special to a shell inside double quotes";
    };
    expect_in(Quoting::DoubleQuoted, {{"prog \"\x01\"", "a b;c&d|e<f>g(h)i'j*k?l[m#n~o", {}},
                                      {"prog \"\x01\"", "a\"b", {more("\"")}},
                                      {"prog \"\x01\"", "a$b`c\\\\d", {more("$, ` and \\")}}});
}

TEST(CheckSinks, FindsTheEndOfSingleQuotes) {
    expect_in(Quoting::SingleQuoted,
              {{"prog '\x01'", "a b\"$`\\\\;", {}},
               {"prog '\x01'", "a'b", {"error contains ': it ends the single quotes"}}});
}

TEST(CheckSinks, FindsNewlinesInFiles) {
    expect_in(Quoting::File,
              {{"key=\x01", "a b\"$`\\\\;'#", {}},
               {"key=\x01", "a\\x09b", {control}},
               {"key=\x01", "a\\x0ab", {"error contains a newline: it starts a new line"}}});
}

TEST(CheckSinks, FindsSpecialCharactersInCrontabs) {
    const std::string newline = "error contains a newline: it starts a new line";
    const std::string field = ": cron ends the field there";
    const char* const hour = "0 \x01 * * * root killall -1 syslogd";
    const char* const user = "0 1 * * * \x01 killall -1 syslogd";
    const char* const word = "0 1 * * * root echo \x01 x";
    const char* const quoted_word = "0 1 * * * root echo \"\x01\" x";
    expect_in(Quoting::Crontab, {{"TZ=\x01", "GMT-7 2;%$", {}},
                                 {"TZ=\x01", "a\\x0ab", {newline}},
                                 {hour, "8", {}},
                                 {hour, "8,20", {}},
                                 {hour, "8 1", {"error contains a space" + field}},
                                 {hour, "8\\x091", {"error contains a tab" + field}},
                                 {user, "root x", {"error contains a space" + field}},
                                 // cron passes the command to a shell.
                                 {word, "a", {}},
                                 {word, "a%b", {"error contains %: cron ends the command there"}},
                                 {word, "a;b", {bare(";")}},
                                 {word, "a b", {splits("a space")}},
                                 {quoted_word, "a b;c", {}},
                                 {quoted_word,
                                  "a$b%",
                                  {"error contains %: cron ends the command there",
                                   "error contains $: special to a shell inside double quotes"}},
                                 {"0 1 * * * root echo 'a \"' \x01", "a b", {splits("a space")}},
                                 {"0 1 * * * root echo \\\" \x01", "a b", {splits("a space")}},
                                 {"0 1 * * * root echo \"x ' \x01\"", "a'b", {}}});
}

TEST(CheckSinks, IgnoresCharactersThatRcEscapesOrDrops) {
    EXPECT_EQ(found_in(Quoting::Bare, "prog \x01", "a b c", " "),
              std::vector<std::string>({splits("a space")}));
    EXPECT_EQ(found_in(Quoting::Bare, "prog \x01", "a;b c", ""), std::vector<std::string>());
    // With a character that does not pass, the line does not hold the text.
    EXPECT_EQ(found_in(Quoting::Bare, "prog \x01", "a;b c", " "), std::vector<std::string>());
}

// Escaped for a shell without quotes, and put between double quotes.
TEST(CheckSinks, ReportsABackslashThatStaysInsideDoubleQuotes) {
    const Sink sinks[] = {{"pppoe_service", Quoting::DoubleQuoted, "command",
                           "pppd pppoe_srv_name \"\x01\"", " ;", ""}};
    const Finding finding = finding_of({"pppoe_service=a'b\"c"}, sinks);
    EXPECT_EQ(
        shown(finding),
        "warning pppoe_service: contains ': the backslash that rc adds stays inside double quotes");
    EXPECT_EQ(finding.effect, "runs: pppd pppoe_srv_name \"a\\'b\\\"c\"");
}

TEST(CheckSinks, HidesSecrets) {
    const Sink sinks[] = {
        {"ddns_password", Quoting::SingleQuoted, "command", "ez-ipupdate -u 'me:\x01'", all, ""}};
    const Finding finding = finding_of({"ddns_password=geh'eim"}, sinks);
    EXPECT_EQ(shown(finding),
              "error ddns_password: contains a special character: it ends the single quotes");
    EXPECT_EQ(finding.value, "********");
    EXPECT_EQ(finding.effect, "runs: ez-ipupdate -u 'me:********'");
    EXPECT_EQ(finding.fix, "only letters and digits");
}

TEST(CheckSinks, ChecksTheFieldsOfRecords) {
    const std::string list = "fw_block_keyword=good\\x01two words\\x01a;b";
    const Sink sinks[] = {{"fw_block_keyword", Quoting::Bare, "/tmp/rules",
                           "iptables -A HTTP -m string --string \x01 --algo kmp", all, "keyword"}};
    const std::vector<Finding> all_findings = findings({list}, sinks);
    ASSERT_EQ(all_findings.size(), 2U);
    EXPECT_EQ(
        shown(all_findings[0]),
        "warning fw_block_keyword: entry 2, field keyword: contains a space: a shell splits it"
        " into several words");
    EXPECT_EQ(all_findings[0].effect,
              "writes into /tmp/rules: iptables -A HTTP -m string --string two words --algo kmp");
    EXPECT_EQ(shown(all_findings[1]),
              "error fw_block_keyword: entry 3, field keyword: " + bare(";").substr(6));
}

// A name that is in no line may contain spaces.
TEST(CheckSinks, ChecksOnlyTheFieldInTheLine) {
    const Sink of_host[] = {
        {"fw_in_rules", Quoting::Bare, "/tmp/rules", "iptables -d 1.2.3.\x01", all, "host"}};
    EXPECT_EQ(found({"fw_in_rules=my server:1:x:80:80:tcp:10"}, of_host),
              std::vector<std::string>());
    const Sink of_name[] = {
        {"fw_in_rules", Quoting::Bare, "/tmp/rules", "iptables -c \x01", all, "name"}};
    EXPECT_EQ(
        found({"fw_in_rules=my server:1:x:80:80:tcp:10"}, of_name),
        std::vector<std::string>(
            {"warning fw_in_rules: entry 1, field name: contains a space: a shell splits it into"
             " several words"}));
    const Sink of_all[] = {
        {"fw_in_rules", Quoting::DoubleQuoted, "command", "echo \"\x01\"", all, ""}};
    EXPECT_EQ(found({"fw_in_rules=$x:1:x:80:80:tcp:10"}, of_all),
              std::vector<std::string>(
                  {"error fw_in_rules: contains $: special to a shell inside double quotes"}));
}

TEST(CheckSinks, CountsFurtherLinesWithTheSameError) {
    const Sink sinks[] = {
        {"wan_account", Quoting::Bare, "command", "first x\x01y", all, ""},
        {"wan_account", Quoting::Bare, "command", "second \x01", all, ""},
        {"wan_domain", Quoting::Bare, "command", "a \x01", all, ""},
        {"wan_domain", Quoting::Bare, "command", "b \x01", all, ""},
        {"wan_domain", Quoting::Bare, "command", "c \x01", all, ""},
        {"wan_account", Quoting::DoubleQuoted, "command", "third \"\x01\"", all, ""},
    };
    EXPECT_EQ(finding_of({"wan_account=a;b"}, sinks).effect,
              "runs: second a;b (and another such line)");
    EXPECT_EQ(finding_of({"wan_domain=a;b"}, sinks).effect, "runs: a a;b (and 2 more such lines)");
}

// The effect of a wrong form shows a line, too.
TEST(CheckSinks, ShowsTheLineWithAnInvalidValue) {
    const Sink sinks[] = {
        {"fw_remote_port", Quoting::Bare, "/tmp/rules", "iptables -A X --dport \x01 -j Y", all, ""},
        {"wifi_radius_port", Quoting::File, "/var/RT2860AP.dat", "RADIUS_Port=\x01", all, ""},
        {"wan_mtu", Quoting::Bare, "command", "/sbin/ifconfig eth2.2 mtu \x01", all, ""},
    };
    EXPECT_EQ(finding_of({"fw_remote_port=80800"}, sinks).effect,
              "writes into /tmp/rules: iptables -A X --dport 80800 -j Y; iptables rejects it");
    // iptables reads names of services.
    EXPECT_EQ(finding_of({"fw_remote_port=http"}, sinks).effect,
              "writes into /tmp/rules: iptables -A X --dport http -j Y");
    EXPECT_EQ(finding_of({"wifi_radius_port=0"}, sinks).effect,
              "writes into /var/RT2860AP.dat: RADIUS_Port=0");
    EXPECT_EQ(finding_of({"wan_mtu=9000"}, sinks).effect, "runs: /sbin/ifconfig eth2.2 mtu 9000");
    EXPECT_EQ(finding_of({"wan_mtu=9000"}).effect, "reads it as 9000");
}

// l2tpd reads the doubled % as it stands.
TEST(CheckSinks, ShowsAnAccountAsItIsWritten) {
    const Sink sinks[] = {
        {"l2tp_username", Quoting::File, "/tmp/l2tp/l2tpd.conf", "name = \x01", all, ""}};
    EXPECT_EQ(findings({"l2tp_username=a%\\x01b"}, sinks)[0].effect,
              "writes into /tmp/l2tp/l2tpd.conf: name = a%%\\x01b");
}

TEST(CheckSinks, ShowsTheLineOfAnEntry) {
    const Sink sinks[] = {{"fw_block_keyword", Quoting::Bare, "/tmp/rules",
                           "iptables -A X --string \x01", all, "keyword"}};
    EXPECT_EQ(findings({"fw_block_keyword=a\\x07b"}, sinks)[0].effect,
              "writes into /tmp/rules: iptables -A X --string a\\x07b");
}

// Of a text that breaks its form and its line, one is said: the worse.
TEST(CheckSinks, ReportsOneMistakeOnce) {
    const Sink sinks[] = {{"wan_account", Quoting::Bare, "command", "prog \x01", all, ""}};
    EXPECT_EQ(found({"wan_account=a;b"}, sinks),
              std::vector<std::string>({"error wan_account: " + bare(";").substr(6)}));
    EXPECT_EQ(found({"wan_account=a b"}, sinks),
              std::vector<std::string>({"error wan_account: is neither a host name nor an IPv4"
                                        " address; expected a host name or an IPv4 address"}));
}

// Other settings stand in the line as the user has them; a secret does not, nor what no setting
// says.
TEST(CheckSinks, ShowsOtherSettingsInTheLine) {
    const Sink sinks[] = {
        {"wan_account", Quoting::Bare, "command",
         "prog -i \x02wan_ifname\x02 -u \x02pptp_username\x02:\x02http_password\x02 -t \x03 \x01",
         all, ""},
        {"qos", Quoting::Bare, "/tmp/qos.conf", "tc \x02:protocol\x02 \x01", all, "rate"}};
    EXPECT_EQ(finding_of({"wan_account=a;b", "wan_ifname=eth9", "pptp_username=m'e"}, sinks).effect,
              "runs: prog -i eth9 -u m\\'e:******** -t ... a;b");
    EXPECT_EQ(finding_of({"qos=1\\x020\\x02n\\x021\\x022\\x02udp\\x020\\x020\\x02$x\\x020"}, sinks)
                  .effect,
              "writes into /tmp/qos.conf: tc udp $x");
}

// A line that rc does not write with the other settings is not shown as written, but with the
// settings with which it would be; what would break it is no error yet.
TEST(CheckSinks, ReportsConditionsOfALine) {
    struct Row {
        const char* when;
        std::string change;
        std::string start;  // empty if rc writes the line
    };
    const Row rows[] = {
        {"wan_mode=dhcpc,ip", "wan_mode=ip", ""},
        {"wan_mode=l2tp,pppoe", "wan_mode=ras", "with wan_mode=pppoe, "},
        {"fw_ttl^12", "fw_ttl=2", ""},
        {"fw_ttl^12", "fw_ttl=3", "with fw_ttl=1, "},
        {"fw_ttl^12", "fw_ttl=", "with fw_ttl=1, "},
        {"fw_ttl!12", "fw_ttl=3", ""},
        {"fw_ttl!12", "fw_ttl=", ""},
        {"fw_ttl!12", "fw_ttl=1", "with fw_ttl=0, "},
        {"qos_type^p", "qos_type=bandwidth", "with qos_type=priority, "},
        {"wan_dns1+", "wan_dns1=192.0.2.1", ""},
        {"wan_dns1+", "wan_dns1=", "with wan_dns1=203.0.113.53, "},
        {"wan_dns1-", "wan_dns1=192.0.2.1", "with wan_dns1 empty, "},
        {"wan_dns1-", "wan_dns1=", ""},
        {"pppoe_idle#", "pppoe_idle=5", ""},
        {"pppoe_idle#", "pppoe_idle=0", "with pppoe_idle=5, "},
        {"fw_ttl^1;pppoe_idle#", "fw_ttl=1", ""},
        {"fw_ttl^1;fw_nat^1", "fw_nat=0", "with fw_ttl=1 and fw_nat=1, "},
        {"wifi_ap_mode!1", "wifi_ap_mode=0", ""},
        {"qos?", "fw_ttl=1", "depending on qos, "},
        {"fw_ttl^1;qos?", "fw_ttl=0", "with fw_ttl=1, depending on qos, "},
    };
    for (const Row& row : rows) {
        const Sink sinks[] = {
            {"device_name", Quoting::DoubleQuoted, "command", "prog \"\x01\"", all, "", row.when}};
        bool seen = false;
        for (const Finding& finding : findings({"device_name=a$b", row.change}, sinks)) {
            if (finding.key != "device_name") continue;
            seen = true;
            const bool never = row.start.starts_with("with ");
            EXPECT_EQ(finding.level, never ? Level::Warning : Level::Error) << row.when;
            EXPECT_EQ(finding.effect, row.start + "runs: prog \"a$b\"")
                << row.when << "  " << row.change;
        }
        EXPECT_TRUE(seen) << row.when;
    }
}

// The line is shown with the settings with which rc would write it.
TEST(CheckSinks, ShowsTheLineOfOtherSettings) {
    const Sink sinks[] = {{"device_name", Quoting::DoubleQuoted, "command",
                           "prog -d \x02wan_dns1\x02 \"\x01\"", all, "", "wan_dns1+"}};
    EXPECT_EQ(finding_of({"device_name=a$b"}, sinks).effect,
              "with wan_dns1=203.0.113.53, runs: prog -d 203.0.113.53 \"a$b\"");
}

// Of a text that rc cuts, the rest is neither shown nor found fault with; one that is too short is
// not in the line at all.
TEST(CheckSinks, KnowsTheLengthsOfTexts) {
    const Sink sinks[] = {
        {"device_name", Quoting::DoubleQuoted, "command", "prog \"\x01\"", all, "", "<4"},
        {"http_realm", Quoting::DoubleQuoted, "command",
         "prog \"\x01\" \x02"
         "device_name\x02",
         all, "", ">3;!0"}};
    EXPECT_EQ(finding_of({"device_name=a$bcdef"}, sinks).effect, "runs: prog \"a$bc\"");
    EXPECT_EQ(found({"device_name=abcd$"}, sinks), std::vector<std::string>());
    EXPECT_EQ(found({"http_realm=$a"}, sinks), std::vector<std::string>());
    EXPECT_EQ(found({"http_realm=0$ab"}, sinks), std::vector<std::string>());
    EXPECT_EQ(finding_of({"http_realm=$ab", "device_name=abcdef"}, sinks).effect,
              "runs: prog \"$ab\" abcd");
}

}  // namespace
