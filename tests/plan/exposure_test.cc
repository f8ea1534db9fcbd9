// What is open, against single packets: the same packets walk one by one.

#include "plan/exposure/exposure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "plan/exposure/expectations.h"
#include "plan/exposure/moments.h"
#include "plan/exposure/opening_words.h"
#include "plan/netfilter/packet_walk.h"
#include "random_settings.h"

namespace {

// That are drawn at random.
constexpr unsigned routers = 200;

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

Settings settings_in(const std::string& path) {
    std::ifstream file(std::string(SOURCE_DIR) + "/" + path);
    std::ostringstream text;
    text << file.rdbuf();
    return read_settings(text.str());
}

Settings factory_with(const Settings& changes) {
    Settings settings = settings_in("lab/root/etc/default");
    for (const auto& [key, value] : changes) settings[key] = value;
    return settings;
}

// A router with these settings.
struct Walked {
    explicit Walked(const Settings& settings)
        : plan(plan_of(settings)),
          firewall(plan),
          space(std::vector<const Netfilter*>{&firewall.tables}) {}

    Plan plan;
    Firewall firewall;
    PacketSpace space;
};

// The same with the settings behind its rules.
struct Exposed : Walked {
    explicit Exposed(const Settings& settings)
        : Walked(settings), provenance(trace(plan)), rules(firewall, provenance) {}

    std::vector<ExposureRow> open(const char* in = "eth2.2") const {
        return open_rows(firewall, space, rules, in);
    }

    Provenance provenance;
    RuleSettings rules;
};

std::string shown(const ExposureRow& row) {
    std::string text = row.proto + " " + row.ports + " from " + row.src + " to " + row.to;
    if (!row.to_ports.empty()) text += " " + row.to_ports;
    for (const std::string& condition : row.when) text += ", " + condition;
    return text;
}

std::vector<std::string> new_ones(const std::vector<ExposureRow>& rows) {
    std::vector<std::string> list;
    for (const ExposureRow& row : rows)
        if (row.state == ConnectionState::New) list.push_back(shown(row));
    return list;
}

TEST(Exposure, FactorySettingsLetNothingIn) {
    const Exposed router(factory_with({}));
    EXPECT_THAT(new_ones(router.open()), IsEmpty());
    for (const ExposureRow& row : router.open())
        EXPECT_THAT(row.when, Contains("related to a connection from inside"));
}

TEST(Exposure, AForwardWithItsEntry) {
    const Exposed router(
        factory_with({{"fw_in_rules", "off:0:x:1:1:tcp:1\x01web:1:x:8000:80:tcp:9"}}));
    const std::vector<ExposureRow> rows = router.open();
    ASSERT_THAT(new_ones(rows), ElementsAre("tcp 8000 from anyone to 192.168.1.9 80"));
    ASSERT_FALSE(rows[0].settings.empty());
    EXPECT_EQ(rows[0].settings[0].text(), "fw_in_rules entry 2");
    EXPECT_EQ(rows[0].packet,
              "--in eth2.2 --proto tcp --src 198.51.100.9 --dst 203.0.113.7 --sport 40000"
              " --dport 8000");
}

TEST(Exposure, ADmzHasWhatIsLeft) {
    const Exposed router(factory_with({{"fw_in_rules", "web:1:x:8000:80:tcp:9"},
                                       {"fw_dmz_enable", "1"},
                                       {"fw_dmz", "192.168.1.8"}}));
    EXPECT_THAT(new_ones(router.open()),
                testing::UnorderedElementsAre(
                    "tcp all but 8000 from anyone to 192.168.1.8 all but 8000",
                    "any protocol but icmp and tcp all from anyone to 192.168.1.8 all",
                    "tcp 8000 from anyone to 192.168.1.9 80"));
}

TEST(Exposure, AnAnswerToPingsHasALimit) {
    const Exposed router(factory_with({{"fw_response_ping", "1"}}));
    const std::vector<std::string> rows = new_ones(router.open());
    EXPECT_THAT(rows, Contains(testing::AllOf(HasSubstr("icmp echo-request"), HasSubstr("router"),
                                              HasSubstr("at most 5 a second"))));
}

TEST(Exposure, RemoteManagementForARange) {
    const Exposed router(factory_with({{"fw_remote", "1"},
                                       {"fw_remote_type", "2"},
                                       {"fw_remote_port", "8080"},
                                       {"fw_remote_range_start", "198.51.100.10"},
                                       {"fw_remote_range_end", "198.51.100.20"}}));
    EXPECT_THAT(new_ones(router.open()),
                ElementsAre("tcp 8080 from 198.51.100.10-198.51.100.20 to router 80,"
                            " at most 100 a second"));
}

// A computer that is trusted gets past access control, but not through the WAN's own rules.
TEST(Exposure, ATrustedMacAddressOpensNothing) {
    const Exposed router(factory_with({{"ac_control", "2"},
                                       {"fw_trustenable", "1"},
                                       {"access_group", "02:00:00:00:00:31"},
                                       {"fw_in_rules", "web:1:x:8000:80:tcp:9"}}));
    EXPECT_THAT(new_ones(router.open()), ElementsAre("tcp 8000 from anyone to 192.168.1.9 80"));
}

TEST(Exposure, ForwardsThatAreTakenBefore) {
    const Exposed router(
        factory_with({{"fw_in_rules", "one:1:x:8000:80:tcp:9\x01two:1:x:8000:81:tcp:10"}}));
    const std::vector<ExposureRow> rows = unused_rows(router.firewall, router.space, router.rules);
    ASSERT_FALSE(rows.empty());
    EXPECT_FALSE(rows[0].own);
    ASSERT_FALSE(rows[0].settings.empty());
    EXPECT_EQ(rows[0].settings[0].text(), "fw_in_rules entry 2");
    EXPECT_THAT(rows[0].why, HasSubstr("fw_in_rules entry 1"));
    for (const ExposureRow& row : rows)
        for (const SettingUse& use : row.settings) EXPECT_NE(use.text(), "fw_in_rules entry 1");
}

TEST(Exposure, WhoGetsPastABlock) {
    const Exposed router(factory_with({{"ac_control", "2"},
                                       {"fw_services_def", "SMTP:tcp:25-25"},
                                       {"access_control", "0000SMTP"},
                                       {"fw_trustenable", "1"},
                                       {"access_group", "02:00:00:00:00:31"}}));
    const std::vector<ExposureRow> rows = escape_rows(router.firewall, router.space, router.rules);
    EXPECT_THAT(rows,
                Contains(testing::Field(&ExposureRow::why, HasSubstr("access_group entry 1"))));
    EXPECT_THAT(rows, Contains(testing::Field(&ExposureRow::packet,
                                              HasSubstr("--mac-source 02:00:00:00:00:31"))));
}

std::string first_problem(const Walked& router, const std::string& statement) {
    const auto read = read_expectations(statement);
    const auto* list = std::get_if<std::vector<Expectation>>(&read);
    if (list == nullptr) return std::get<ExpectationError>(read).message;
    return contradiction(router.firewall, router.space, list->at(0));
}

TEST(Exposure, StatementsHoldOrAPacketContradicts) {
    const Walked router(
        factory_with({{"fw_in_rules", "web:1:x:8000:80:tcp:9"},
                      {"fw_out_rules", "vpn:1:x:500:500:udp:9\x01vpn:1:x:4500:4500:udp:9"}}));
    EXPECT_EQ(first_problem(router, "never tcp 22 from wan"), "");
    EXPECT_EQ(first_problem(router, "never any to router from wan"), "");
    EXPECT_THAT(first_problem(router, "never tcp from wan"), HasSubstr("--dport 8000"));
    EXPECT_THAT(first_problem(router, "never any to 192.168.1.9 from wan"), HasSubstr("--dst"));
    EXPECT_EQ(first_problem(router, "never any to 192.168.1.10 from wan"), "");
    EXPECT_THAT(first_problem(router, "only udp 500,4500 to 192.168.1.9"),
                HasSubstr("--proto tcp"));
    EXPECT_EQ(first_problem(router, "only tcp 8000 to 192.168.1.10"), "");
    EXPECT_EQ(first_problem(router, "lan reaches dns"), "");
    EXPECT_EQ(first_problem(router, "lan reaches web"), "");
    EXPECT_THAT(first_problem(router, "wan reaches web"), HasSubstr("--dport 80"));
    EXPECT_EQ(first_problem(router, "lan reaches tcp 443 at 198.51.100.80"), "");
}

TEST(Exposure, WrongStatementsAreNamed) {
    const Walked router(factory_with({}));
    EXPECT_EQ(first_problem(router, "always tcp"),
              "a statement begins with 'never', 'only' or 'IF reaches'");
    EXPECT_EQ(first_problem(router, "never tcp 22"), "'from IF' is missing");
    EXPECT_EQ(first_problem(router, "never tcpp from wan"), "'tcpp' is not a protocol");
    EXPECT_EQ(first_problem(router, "never icmp 22 from wan"), "only tcp and udp have ports");
    EXPECT_EQ(first_problem(router, "never tcp 70000 from wan"),
              "'70000' is not a port or a range of ports");
    EXPECT_EQ(first_problem(router, "only tcp 22"), "'to TARGET' is missing");
    EXPECT_EQ(first_problem(router, "never tcp from"), "nothing follows 'from'");
    EXPECT_EQ(first_problem(router, "never tcp to host from wan"),
              "'host' is neither 'router' nor an IPv4 address");
}

// Two routers in one space, as `rcplan diff` compares them.
struct Compared {
    Compared(const Settings& a, const Settings& b)
        : plan_a(plan_of(a)),
          plan_b(plan_of(b)),
          firewall_a(plan_a),
          firewall_b(plan_b),
          space(std::vector<const Netfilter*>{&firewall_a.tables, &firewall_b.tables}) {}

    std::vector<Opening> opened() const {
        return openings_beyond(firewall_b, firewall_a, space, "eth2.2");
    }
    std::vector<Opening> closed() const {
        return openings_beyond(firewall_a, firewall_b, space, "eth2.2");
    }

    Plan plan_a;
    Plan plan_b;
    Firewall firewall_a;
    Firewall firewall_b;
    PacketSpace space;
};

TEST(Exposure, AChangeOpensAndCloses) {
    const Compared both(factory_with({{"fw_in_rules", "web:1:x:8000:80:tcp:9"}}),
                        factory_with({{"fw_in_rules", "web:1:x:8001:80:tcp:9"}}));
    ASSERT_THAT(both.opened(), SizeIs(1));
    EXPECT_EQ(ports_text(both.opened()[0].ports), "8001");
    ASSERT_THAT(both.closed(), SizeIs(1));
    EXPECT_EQ(ports_text(both.closed()[0].ports), "8000");
}

TEST(Exposure, OrderAndSpellingOpenNothing) {
    const Compared both(
        factory_with({{"fw_in_rules", "web:1:x:8000:80:tcp:9\x01mail:1:x:25:25:tcp:10"}}),
        factory_with({{"fw_in_rules", "Mail:1:y:25:25:tcp:10\x01WEB:1::8000:80:tcp:9"}}));
    EXPECT_THAT(both.opened(), IsEmpty());
    EXPECT_THAT(both.closed(), IsEmpty());
}

// A range keeps the port, a single forward names it: both lead to the same place.
TEST(Exposure, TwoWaysToTheSamePlaceOpenNothing) {
    const Compared both(factory_with({{"fw_in_rules", "web:1:x:8000:8000:tcp:9"}}),
                        factory_with({{"fw_out_rules", "web:1:x:8000:8000:tcp:9"}}));
    EXPECT_THAT(both.opened(), IsEmpty());
    EXPECT_THAT(both.closed(), IsEmpty());
}

Packet random_packet(RandomSettings& random) {
    Packet packet;
    packet.state = ConnectionState::New;
    packet.protocol = random.one_of({"6", "17"}) == "6" ? protocol_tcp : protocol_udp;
    const unsigned kind = random.number(0, 19);
    if (kind == 0) packet.protocol = protocol_icmp;
    if (kind == 1) packet.protocol = random.number(2, 255);
    packet.source = read_address(
        random.one_of({"198.51.100.7", "198.51.100.9", "198.51.100.12", "192.168.1.9", "8.8.8.8"}));
    packet.destination = read_address(random.one_of(
        {wan_address, wan_address, wan_address, "192.168.1.1", "192.168.1.9", "192.168.1.255",
         "198.51.100.80", "255.255.255.255", "224.0.0.9", "245.1.1.1", "127.0.0.1", "0.0.0.0"}));
    const bool ports = packet.protocol == protocol_tcp || packet.protocol == protocol_udp;
    if (ports) {
        packet.source_port = random.number(1024, 65535);
        packet.destination_port = random.number(7998, 8006);
        const unsigned special = random.number(0, 9);
        if (special == 0) packet.destination_port = 80;
        if (special == 1) packet.destination_port = 53;
    }
    if (packet.protocol == protocol_tcp) {
        packet.tcp_flags = Syn;
        packet.mss = 1460;
    }
    if (packet.protocol == protocol_icmp) packet.icmp_type = 8;
    if (random.number(0, 3) == 0) packet.mac_source = random.mac();
    if (random.number(0, 7) == 0) packet.payload = random.word();
    packet.over_limit = random.number(0, 5) == 0;
    packet.not_drawn = false;
    return packet;
}

// Each packet is in an opening if and only if it is accepted when it walks alone; and each row's
// own packet is accepted.
void compare_with_walks(const Walked& router, RandomSettings& random, unsigned count) {
    ASSERT_EQ(not_followed(router.firewall.tables), "");
    for (const char* in : {"eth2.2", "br0"}) {
        const std::vector<Opening> openings = openings_of(router.firewall, router.space, in);
        for (unsigned i = 0; i < count; i++) {
            Packet packet = random_packet(random);
            packet.in = in;
            const Walk walk = walk_packet(router.firewall.tables, router.firewall.networks, packet);
            ASSERT_NE(walk.verdict, Verdict::Unknown) << walk.unknown_reason;
            size_t found = 0;
            for (const Opening& opening : openings)
                if (opening.state == packet.state && router.space.holds(opening.packets, packet)) {
                    found++;
                    EXPECT_EQ(opening.out, walk.packet.out);
                    if (opening.to) {
                        EXPECT_EQ(opening.to, walk.packet.destination);
                    }
                }
            EXPECT_EQ(found > 0, walk.verdict == Verdict::Accept)
                << packet_words(packet) << ": " << walk.verdict_text();
        }
        for (const Opening& opening : openings) {
            const Packet witness = witness_of(router.space, router.firewall.networks,
                                              opening.packets, in, opening.state);
            const Walk walk =
                walk_packet(router.firewall.tables, router.firewall.networks, witness);
            EXPECT_EQ(walk.verdict, Verdict::Accept) << packet_words(witness);
            EXPECT_TRUE(router.space.holds(opening.packets, witness)) << packet_words(witness);
        }
    }
}

TEST(Exposure, AgreesWithSinglePacketsForFactorySettings) {
    RandomSettings random(1);
    compare_with_walks(Walked(factory_with({})), random, 2000);
}

TEST(Exposure, AgreesWithSinglePacketsForAFullHouse) {
    RandomSettings random(2);
    compare_with_walks(Walked(settings_in("bench/full_house.txt")), random, 300);
}

TEST(Exposure, AgreesWithSinglePacketsForRandomSettings) {
    RandomSettings random(3);
    for (unsigned i = 0; i < routers; i++) {
        const Settings settings = factory_with(random.draw());
        SCOPED_TRACE("settings " + std::to_string(i));
        compare_with_walks(Walked(settings), random, 60);
        if (testing::Test::HasFailure()) break;
    }
}

// A packet is in a row without a time if both states of the schedule let it through, and in a row
// of one state if only that one does.
TEST(Exposure, BothStatesOfTheScheduleAgreeWithSinglePackets) {
    const Plan closed = plan_of(factory_with({{"ac_control", "2"},
                                              {"ac_sch", "1"},
                                              {"fw_services_def", "MAIL:tcp:25-25"},
                                              {"access_control", "0000MAIL"},
                                              {"fw_block", "2"},
                                              {"fw_block_keyword", "casino\x01poker"},
                                              {"fw_schedule", "1:8:0-17:0"}}));
    const std::optional<World> later = at_other_state(closed);
    ASSERT_TRUE(later);
    const Plan open = make_plan(*later, closed.words);
    ASSERT_FALSE(schedule_is_open(closed));
    ASSERT_TRUE(schedule_is_open(open));
    const Firewall closed_wall(closed);
    const Firewall open_wall(open);
    const PacketSpace space(std::vector<const Netfilter*>{&closed_wall.tables, &open_wall.tables});
    const Provenance closed_trace = trace(closed);
    const Provenance open_trace = trace(open);
    const RuleSettings closed_settings(closed_wall, closed_trace);
    const RuleSettings open_settings(open_wall, open_trace);
    const std::vector<ExposureRow> rows =
        open_rows_at({.firewall = closed_wall, .settings = closed_settings},
                     {.firewall = open_wall, .settings = open_settings}, space, "br0");

    RandomSettings random(5);
    size_t only_closed = 0;
    for (unsigned i = 0; i < 4000; i++) {
        Packet packet = random_packet(random);
        packet.in = "br0";
        if (packet.protocol == protocol_tcp) {
            const unsigned ports[] = {25, 80, 443};
            packet.destination_port = ports[random.number(0, 2)];
            // In the middle of a connection that the router has not seen.
            if (random.number(0, 1) == 0) {
                packet.state = ConnectionState::Invalid;
                packet.tcp_flags = Psh | Ack;
            }
            packet.payload = random.one_of({"", "casino", "poker", "chess"});
        }
        // Packets of no new connection that leave by the interface they came from reach nobody.
        const bool goes_back =
            walk_packet(closed_wall.tables, closed_wall.networks, packet).packet.out == "br0";
        if (packet.state != ConnectionState::New && goes_back) continue;
        const auto accepted = [&](const Firewall& wall) {
            return walk_packet(wall.tables, wall.networks, packet).verdict == Verdict::Accept;
        };
        const auto is_in = [&](const char* condition) {
            return std::ranges::any_of(rows, [&](const ExposureRow& row) {
                const std::string last = row.when.empty() ? "" : row.when.back();
                const bool timed = last.find("while the schedule") == 0;
                return row.state == packet.state && timed == (*condition != '\0') &&
                       (!timed || last == condition) && space.holds(row.packets, packet);
            });
        };
        const bool in_closed = accepted(closed_wall);
        const bool in_open = accepted(open_wall);
        if (in_closed && !in_open) only_closed++;
        EXPECT_EQ(is_in(""), in_closed && in_open) << packet_words(packet);
        EXPECT_EQ(is_in("while the schedule is closed"), in_closed && !in_open)
            << packet_words(packet);
        EXPECT_EQ(is_in("while the schedule is open"), in_open && !in_closed)
            << packet_words(packet);
    }
    EXPECT_GT(only_closed, 100U);
}

// A diff of two random routers is what single packets show: a packet is in what was opened if and
// only if B accepts it to a place to which A does not.
TEST(Exposure, DifferencesAgreeWithSinglePackets) {
    RandomSettings random(4);
    for (unsigned i = 0; i < routers / 4; i++) {
        const Compared both(factory_with(random.draw()), factory_with(random.draw()));
        const std::vector<Opening> opened = both.opened();
        for (unsigned k = 0; k < 60; k++) {
            Packet packet = random_packet(random);
            packet.in = "eth2.2";
            const Walk a = walk_packet(both.firewall_a.tables, both.firewall_a.networks, packet);
            const Walk b = walk_packet(both.firewall_b.tables, both.firewall_b.networks, packet);
            const bool same = a.verdict == b.verdict &&
                              a.packet.destination == b.packet.destination &&
                              a.packet.destination_port == b.packet.destination_port;
            const bool is_opened = std::ranges::any_of(opened, [&](const Opening& opening) {
                return both.space.holds(opening.packets, packet);
            });
            EXPECT_EQ(is_opened, b.verdict == Verdict::Accept && !same) << packet_words(packet);
        }
    }
}

}  // namespace
