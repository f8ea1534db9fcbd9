// The forms of values: valid and invalid texts, and the form in words.
#include "settings/forms.h"

#include <gtest/gtest.h>

#include "core/ipv4.h"
#include "settings/records.h"

namespace {

using namespace nvram;

struct FormRow {
    Limits limits;
    std::string text;
    std::string problem;  // without the expected form
};

std::string problem_of(const Limits& limits, std::string_view text) {
    const std::string problem = form_problem(limits, text);
    if (problem.empty()) return "";
    const std::size_t end = problem.find("; expected ");
    EXPECT_NE(end, std::string::npos) << problem;
    return problem.substr(0, end);
}

void expect_problems(const std::vector<FormRow>& rows) {
    for (const FormRow& row : rows)
        EXPECT_EQ(problem_of(row.limits, row.text), row.problem) << row.text;
}

TEST(Forms, AProblemSaysWhatIsExpected) {
    const std::pair<Limits, const char*> rows[] = {
        {{.form = Form::Flag}, "is neither on nor off; expected 1 (on) or 0 (off)"},
        {{.form = Form::Number, .low = 1, .high = 255},
         "is not a number; expected a number from 1 to 255"},
        {{.form = Form::Choice, .choices = "tcp udp"},
         "is not an allowed value; expected one of tcp, udp"},
        {{.form = Form::Address},
         "is not an IPv4 address; expected four numbers, such as 192.168.1.1"},
        {{.form = Form::Address, .choices = "0"},
         "is not an IPv4 address; expected four numbers, such as 192.168.1.1, or one of 0"},
        {{.form = Form::Netmask}, "is not a netmask; expected four numbers, such as 255.255.255.0"},
        {{.form = Form::Mac},
         "is not a MAC address; expected six pairs of hexadecimal digits, such as "
         "00:11:22:33:44:55"},
        {{.form = Form::Hex, .low = 10, .high = 10},
         "is not hexadecimal; expected 10 hexadecimal digits"},
    };
    for (const auto& [limits, problem] : rows) EXPECT_EQ(form_problem(limits, "x "), problem);
}

TEST(Forms, ARecordHasNoFormOfItsOwn) {
    EXPECT_EQ(form_text({.form = Form::Record}), "a record");
}

TEST(Forms, Flags) {
    const Limits flag = {.form = Form::Flag};
    expect_problems({{flag, "1", ""},
                     {flag, "0", ""},
                     {flag, "1x", ""},
                     {flag, "yes", "is neither on nor off"},
                     {flag, " 1", "is neither on nor off"}});
}

TEST(Forms, Numbers) {
    const Limits port = {.form = Form::Number, .low = 1, .high = 65535};
    const Limits hour = {.form = Form::Number, .low = 0, .high = 23};
    const Limits any = {.form = Form::Number};
    expect_problems({{port, "1", ""},
                     {port, "65535", ""},
                     {port, "0", "is out of range"},
                     {port, "65536", "is out of range"},
                     {port, "80800", "is out of range"},
                     {port, "-1", "is out of range"},
                     {port, "http", "is not a number"},
                     {port, "80x", "is not a number"},
                     {port, " 80", "is not a number"},
                     {port, "+80", "is not a number"},
                     {port, "1e3", "is not a number"},
                     {port, "99999999999999999999", "is not a number"},
                     {port, "0080", "starts with 0, which iptables reads as octal"},
                     {hour, "08", ""},
                     {hour, "24", "is out of range"},
                     {any, "-7", ""},
                     {any, "-", "is not a number"},
                     {any, "4000000000", ""}});
}

TEST(Forms, Choices) {
    const Limits mode = {.form = Form::Choice, .choices = "dhcpc ip"};
    const Limits region = {.form = Form::Choice, .choices = "USA|South America"};
    expect_problems({{mode, "ip", ""},
                     {mode, "dhcp", "is not an allowed value"},
                     {mode, "IP", "is not an allowed value"},
                     {mode, "dhcpc ip", "is not an allowed value"},
                     {region, "South America", ""},
                     {region, "South", "is not an allowed value"}});
    EXPECT_EQ(form_text(mode), "one of dhcpc, ip");
    EXPECT_EQ(form_text(region), "one of USA, South America");
}

TEST(Forms, Addresses) {
    const Limits address = {.form = Form::Address};
    const Limits or_none = {.form = Form::Address, .choices = "0"};
    const std::string none = "is not an IPv4 address";
    const std::string octal = "has a number that starts with 0, which programs read as octal";
    expect_problems({{address, "192.168.1.1", ""},
                     {address, "0.0.0.0", ""},
                     {address, "1.0.0.1", ""},
                     {address, "223.255.255.255", ""},
                     {address, "0.0.0.1", "is in 0.0.0.0/8, where no host has an address"},
                     {address, "127.0.0.1", "is a loopback address, which is every host's own"},
                     {address, "224.0.0.1", "is a multicast address, which no host has"},
                     {address, "239.255.255.255", "is a multicast address, which no host has"},
                     {address, "240.0.0.1", "is a reserved address, which no host has"},
                     {address, "255.255.255.255", "is the broadcast address"},
                     {address, "256.1.1.1", none},
                     {address, "1.1.1", none},
                     {address, "1.1.1.1.1", none},
                     {address, "1.1.1.", none},
                     {address, "1..1.1", none},
                     // inet_aton(3) reads 010 as 8.
                     {address, "192.168.010.1", octal},
                     {address, "192.168.1.00", octal},
                     {address, "010.0.0.1", octal},
                     {address, "192.168.0400.1", none},
                     {address, "1.1.1.1 ", none},
                     {address, "0x7f.1.1.1", none},
                     {address, "1.1.1.-1", none},
                     {address, "router", none},
                     {address, "0", none},
                     {or_none, "0", ""},
                     {or_none, "1", none}});
    EXPECT_EQ(form_text(or_none), "an IPv4 address such as 192.168.1.1, or one of 0");
}

// Of a network, a broadcast, an end of a range.
TEST(Forms, AddressesOfAnyKind) {
    const Limits quad = {.form = Form::Quad};
    expect_problems(
        {{quad, "255.255.255.255", ""},
         {quad, "224.0.0.0", ""},
         {quad, "127.0.0.0", ""},
         {quad, "010.0.0.0", "has a number that starts with 0, which programs read as octal"},
         {quad, "10.0.0", "is not an IPv4 address"}});
}

TEST(Forms, Netmasks) {
    const Limits mask = {.form = Form::Netmask};
    const std::string gap = "is not a netmask: its ones are not contiguous";
    expect_problems({{mask, "255.255.255.0", ""},
                     {mask, "255.255.255.252", ""},
                     {mask, "128.0.0.0", ""},
                     {mask, "0.0.0.0", ""},
                     {mask, "255.255.255.255", ""},
                     {mask, "255.0.255.0", gap},
                     {mask, "255.255.255.1", gap},
                     {mask, "0.255.255.255", gap},
                     {mask, "/24", "is not a netmask"},
                     {mask, "255.255.255", "is not a netmask"}});
}

TEST(Forms, MacAddresses) {
    const Limits mac = {.form = Form::Mac};
    const std::string none = "is not a MAC address";
    const std::string group = "is not the address of one device: its second digit is odd";
    expect_problems({{mac, "00:11:22:aa:BB:cc", ""},
                     {mac, "00-11-22-aa-bb-cc", none},
                     {mac, "001122aabbcc", none},
                     {mac, "00:11:22:aa:bb", none},
                     {mac, "00:11:22:aa:bb:c", none},
                     // What boot makes of a board's address that ends in ff.
                     {mac, "00:11:22:33:44:100", none},
                     {mac, "00:11:22:aa:bb:cg", none},
                     {mac, "00:00:00:00:00:00", "is not the address of a device: it is all zeros"},
                     {mac, "ff:ff:ff:ff:ff:ff", group},
                     {mac, "01:00:5e:00:00:01", group},
                     {mac, "0b:11:22:aa:bb:cc", group}});
}

TEST(Forms, Interfaces) {
    const Limits interface = {.form = Form::Interface};
    const std::string none = "is not an interface name";
    expect_problems({{interface, "eth2.2", ""},
                     {interface, "a23456789012345", ""},
                     {interface, "a234567890123456", none},
                     {interface, "br 0", none},
                     {interface, "br/0", none},
                     {interface, "..", none},
                     {interface, ".", none},
                     {interface, ".a", ""},
                     {interface, "br\x7f", none},
                     {interface, "br\xc3\xa9", none}});
}

TEST(Forms, Hosts) {
    const Limits host = {.form = Form::Host};
    const std::string none = "is neither a host name nor an IPv4 address";
    expect_problems({{host, "time.example.com", ""},
                     {host, "router", ""},
                     {host, "Router.EXAMPLE.com", ""},
                     {host, "a{b", none},
                     {host, "a@b", none},
                     {host, "a[b", none},
                     {host, "3com.example", ""},
                     {host, "10.0.0.1", ""},
                     {host, std::string(63, 'a') + ".b", ""},
                     {host, std::string(64, 'a') + ".b", none},
                     {host, "10.0.0.256", none},
                     {host, "10.0.0", none},
                     {host, "-a.b", none},
                     {host, "a-.b", none},
                     {host, "a..b", none},
                     {host, "a.b.", none},
                     {host, "my_host", none},
                     {host, "a b", none},
                     {host, "a;b", none}});
    const std::string label(49, 'a');
    const std::string longest = label + "." + label + "." + label + "." + label + "." + label;
    ASSERT_EQ(longest.size(), 249U);
    expect_problems({{host, longest + ".bcd", ""}, {host, longest + ".bcde", none}});
}

TEST(Forms, Hexadecimal) {
    const Limits key = {.form = Form::Hex, .low = 10, .high = 26};
    expect_problems({{key, "0123456789", ""},
                     {key, "0123456789abcdefABCDEF0123", ""},
                     {key, "012345678", "has 9 digits"},
                     {key, "0123456789abcdefABCDEF01234", "has 27 digits"},
                     {key, "012345678g", "is not hexadecimal"},
                     {key, "01:23:45:67", "is not hexadecimal"},
                     {{.form = Form::Hex}, "0", ""}});
    EXPECT_EQ(form_text(key), "10 to 26 hexadecimal digits");
    EXPECT_EQ(form_text({.form = Form::Hex, .low = 10, .high = 10}), "10 hexadecimal digits");
}

TEST(Forms, AnyTextIsValid) {
    const Limits text = {.form = Form::Text, .high = 3};
    const std::string control = "contains a control character";
    expect_problems({{text, "abcdef \xff", ""},
                     {text, "a\nb", control},
                     {text, "a\tb", control},
                     {text, "\x7f", control}});
}

TEST(Forms, EditDistance) {
    struct Row {
        std::string one;
        std::string other;
        std::size_t distance;
    };
    const Row rows[] = {
        {"", "", 0},          {"a", "", 1},           {"wan_mut", "wan_mtu", 2},
        {"same", "SAME", 0},  {"kitten", "kiten", 1}, {"wan_mtu", "wan_mode", 3},
        {"abc", "abcdef", 3},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(edit_distance(row.one, row.other, 2), row.distance) << row.one;
        EXPECT_EQ(edit_distance(row.other, row.one, 2), row.distance) << row.other;
    }
}

TEST(Addresses, Networks) {
    const std::optional<Net> lan = parse_net("192.168.1.77", "255.255.255.192");
    ASSERT_TRUE(lan.has_value());
    EXPECT_EQ(lan->text(), "192.168.1.64/255.255.255.192");
    EXPECT_EQ(quad_text(lan->last()), "192.168.1.127");
    for (const char* const host : {"192.168.1.65", "192.168.1.126"})
        EXPECT_TRUE(lan->has_host(*parse_quad(host))) << host;
    for (const char* const none :
         {"192.168.1.64", "192.168.1.127", "192.168.1.63", "192.168.1.128", "192.168.2.65"})
        EXPECT_FALSE(lan->has_host(*parse_quad(none))) << none;
    for (const char* const mask :
         {"0.0.0.0", "255.255.255.255", "255.255.255.254", "255.0.255.0", "24", ""})
        EXPECT_FALSE(parse_net("192.168.1.1", mask).has_value()) << mask;
    EXPECT_TRUE(parse_net("192.168.1.1", "255.255.255.252").has_value());
}

}  // namespace
