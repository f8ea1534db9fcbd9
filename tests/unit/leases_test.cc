// The lease file's records, byte for byte, and the effect of a reservation on a list of them.

#include "lan/leases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <vector>

#include "core/ipv4.h"

namespace {

constexpr HardwareAddress pc1 = {0x00, 0x11, 0x22, 0xaa, 0xbb, 0xcc};
constexpr HardwareAddress pc2 = {0x00, 0x11, 0x22, 0xaa, 0xbb, 0xdd};
constexpr Octets lan = {192, 168, 1, 1};
constexpr Octets at20 = {192, 168, 1, 20};
constexpr Octets at21 = {192, 168, 1, 21};

Lease lease(const HardwareAddress& hardware, const Octets& address, uint32_t seconds) {
    Lease record = {.hardware = hardware, .address = address, .time = {}, .hostname = {}};
    record.set_seconds(seconds);
    return record;
}

using Bytes = std::array<unsigned char, lease_size>;

Bytes bytes_of(const Lease& record) {
    return std::bit_cast<Bytes>(record);
}

// The list after entering a reservation.
std::vector<Lease> with_reservation(const std::vector<Lease>& before, std::string_view hostname,
                                    const HardwareAddress& hardware, const Octets& address,
                                    const Octets& own) {
    Leases leases;
    leases.count = before.size();
    std::ranges::copy(before, leases.records.begin());
    enter_reservation(leases, hostname, hardware, address, own);
    const std::span<const Lease> after = leases.view();
    return {after.begin(), after.end()};
}

std::string name_of(const Lease& record) {
    return record.hostname.data();
}

TEST(Leases, ARecordByteForByte) {
    Lease record = lease(pc1, at20, reservation_seconds);
    std::ranges::copy(std::string_view("pc1"), record.hostname.begin());
    const Bytes expected = {
        0x00, 0x11, 0x22, 0xaa, 0xbb, 0xcc, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // hardware
        192,  168,  1,    20,                                              // address
        0x01, 0xe1, 0x33, 0x80,                                            // seconds
        'p',  'c',  '1',  0,    0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // name
    };
    EXPECT_EQ(bytes_of(record), expected);
    EXPECT_EQ(std::bit_cast<Lease>(expected).seconds(), 31536000u);
}

TEST(Leases, TimesAreBigEndian) {
    const Bytes bytes = bytes_of(lease(pc1, at20, 0xfedcba98));
    EXPECT_EQ(bytes[20], 0xfe);
    EXPECT_EQ(bytes[21], 0xdc);
    EXPECT_EQ(bytes[22], 0xba);
    EXPECT_EQ(bytes[23], 0x98);
    EXPECT_EQ(std::bit_cast<Lease>(bytes).seconds(), 0xfedcba98);
}

TEST(Leases, ADamagedNameIsKeptUnchanged) {
    Bytes bytes;
    bytes.fill(0xff);
    const auto after = with_reservation({std::bit_cast<Lease>(bytes)}, "pc1", pc1, at20, lan);
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(bytes_of(after[0]), bytes);
}

TEST(Leases, ValidReservations) {
    const auto parsed = parse_reservation("pc1;192.168.1.20;00:11:22:aa:bb:cc");
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->hostname, "pc1");
    EXPECT_EQ(parsed->address, at20);
    EXPECT_EQ(parsed->hardware, pc1);

    EXPECT_EQ(parse_reservation(";192.168.1.20;00:11:22:aa:bb:cc")->hostname, "");
    EXPECT_EQ(parse_reservation("a;192.168.1.20;001122AABBCC")->hardware, pc1);
    EXPECT_EQ(parse_reservation("a;192.168.1.20;0:0:1:1:2:2:a:a:b:b:c:c")->hardware, pc1);
    EXPECT_EQ(parse_reservation("a;192.168.1.20;00:11:22:aa:bb:cc:99")->hardware, pc1);
    EXPECT_EQ(parse_reservation("a;192.168.1.20;00:11:22:aa:bb:cc;more")->hardware, pc1);
}

TEST(Leases, InvalidReservations) {
    for (const char* entry : {
             "",
             ";",
             ";;",
             "pc1",
             "pc1;192.168.1.20",
             "pc1;;00:11:22:aa:bb:cc",
             "pc1;192.168.1.999;00:11:22:aa:bb:cc",
             "pc1;host;00:11:22:aa:bb:cc",
             "pc1;192.168.1.20;",
             "pc1;192.168.1.20;00:11:22:aa:bb:c",
             "pc1;192.168.1.20;00-11-22-aa-bb-cc",
             "pc1;192.168.1.20;00:11:22:aa:bb:cg",
             "pc1;192.168.1.20;00:11:22:aa:bb",
         })
        EXPECT_FALSE(parse_reservation(entry)) << entry;
}

TEST(Leases, ANewClientIsAppended) {
    const std::vector<Lease> before = {lease(pc2, at21, 100)};
    const auto after = with_reservation(before, "pc1", pc1, at20, lan);
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after[0].seconds(), 100u);
    EXPECT_EQ(after[1].hardware, pc1);
    EXPECT_EQ(after[1].address, at20);
    EXPECT_EQ(after[1].seconds(), reservation_seconds);
    EXPECT_EQ(name_of(after[1]), "pc1");
}

TEST(Leases, AKnownClientIsChangedInPlaceAndKeepsItsName) {
    std::vector<Lease> before = {lease(pc1, at21, 5), lease(pc2, {192, 168, 1, 30}, 7)};
    std::ranges::copy(std::string_view("old"), before[0].hostname.begin());
    const auto after = with_reservation(before, "new", pc1, at20, lan);
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after[0].address, at20);
    EXPECT_EQ(after[0].seconds(), reservation_seconds);
    EXPECT_EQ(name_of(after[0]), "old");
    EXPECT_EQ(after[1].seconds(), 7u);
}

TEST(Leases, AnotherLeaseOfTheAddressExpires) {
    const std::vector<Lease> before = {lease(pc2, at20, 100), lease({1}, lan, 100)};
    const auto after = with_reservation(before, "pc1", pc1, at20, lan);
    ASSERT_EQ(after.size(), 3u);
    EXPECT_EQ(after[0].seconds(), 0u);
    EXPECT_EQ(after[0].address, at20);
    EXPECT_EQ(after[1].seconds(), 0u);
}

TEST(Leases, TheClientThatHoldsItsOwnAddressKeepsIt) {
    const auto after = with_reservation({lease(pc1, at20, 3)}, "pc1", pc1, at20, lan);
    ASSERT_EQ(after.size(), 1u);
    EXPECT_EQ(after[0].seconds(), reservation_seconds);
}

TEST(Leases, AZeroAddressEndsTheList) {
    const std::vector<Lease> before = {lease(pc2, at21, 9), lease(pc1, {}, 9), lease(pc1, at20, 9)};
    const auto after = with_reservation(before, "pc1", pc1, at20, lan);
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after[0].hardware, pc2);
    EXPECT_EQ(after[1].hardware, pc1);
    EXPECT_EQ(after[1].seconds(), reservation_seconds);
}

TEST(Leases, NamesAreCutAtFifteenCharacters) {
    const auto after = with_reservation({}, "a-host-name-that-is-long", pc1, at20, lan);
    ASSERT_EQ(after.size(), 1u);
    EXPECT_EQ(name_of(after[0]), "a-host-name-tha");
    EXPECT_EQ(after[0].hostname[15], '\0');
}

TEST(Leases, AddressesConvertOrNot) {
    EXPECT_EQ(parse_address("192.168.1.20"), at20);
    EXPECT_FALSE(parse_address(""));
    EXPECT_FALSE(parse_address("192.168.1.256"));
    EXPECT_FALSE(parse_address("router"));
    // As inet_aton reads them, which also takes other forms than the usual one.
    EXPECT_EQ(parse_address("192.168.1.20 and more"), at20);
    EXPECT_EQ(parse_address("192.168.276"), (Octets{192, 168, 1, 20}));
    EXPECT_EQ(parse_address("0300.0xa8.01.024"), at20);
    for (const char* const bad : {"192.168.1.20.", ".192.168.1.20", "192..1.20", "192.168.1.20.1",
                                  "192.168.1.2x", "192.168.1.-20", "192.168.1.99999999999"})
        EXPECT_FALSE(parse_address(bad)) << bad;
    EXPECT_EQ(parse_quad("0.0.0.0"), 0U);
    EXPECT_EQ(parse_quad("255.255.255.255"), 0xffffffffU);
    for (const char* const bad : {"", ".", "1.2.3", "1.2.3.", "1.2.3.4.", "1.2.3.4.5", "01.2.3.4",
                                  "1.2.3.00", "1.2.3.256", "1.2.3.4 ", "1.2.3.4294967297"})
        EXPECT_FALSE(parse_quad(bad)) << bad;
}

}  // namespace
