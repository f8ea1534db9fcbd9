// Boot and board functions that no action of rc reaches.

#include <errno.h>

#include "rc/boot.h"
#include "rc/factory_data.h"
#include "rc/unused.h"
#include "recorded.h"

namespace {

constexpr const char* environment = "/proc/ticfg/env";

using BoardTest = RecordedTest;

TEST_F(BoardTest, WithoutABootEnvironmentNothingIsStored) {
    EXPECT_EQ(set_boot_environment("bootdelay", "3"), 1);
    EXPECT_EQ(transcript(), "");
}

TEST_F(BoardTest, ANewVariableGoesToTheStart) {
    played_.world.put(environment, "");
    EXPECT_EQ(set_boot_environment("bootdelay", "3"), 0);
    EXPECT_EQ(*played_.world.get(environment), "bootdelay 3\n");
}

TEST_F(BoardTest, TheSameValueInAnyCaseIsNotRewritten) {
    played_.world.put(environment, "HWA_0\t00:AA\nmodetty0 38400\n");
    EXPECT_EQ(set_boot_environment("HWA_0", "00:aa"), 0);
    EXPECT_EQ(set_boot_environment("modetty0", "38400"), 0);
    EXPECT_EQ(transcript(), "");
}

TEST_F(BoardTest, AnotherValueOverwritesTheStart) {
    played_.world.put(environment, "HWA_0 00:AA\nmodetty0 38400\n");
    EXPECT_EQ(set_boot_environment("HWA_0", "00:BB"), 0);
    EXPECT_EQ(*played_.world.get(environment), "HWA_0 00:BB\nmodetty0 38400\n");
}

TEST_F(BoardTest, ANameAtTheEndHasNoValue) {
    played_.world.put(environment, "first 1\nlast");
    EXPECT_EQ(set_boot_environment("last", "x"), 0);
    EXPECT_EQ(*played_.world.get(environment), "last x\n\nlast");
}

TEST_F(BoardTest, OnlyTheFirst1024BytesAreRead) {
    played_.world.put(environment, std::string(1024, '.') + "name value\n");
    EXPECT_EQ(set_boot_environment("name", "value"), 0);
    EXPECT_TRUE(played_.world.get(environment)->starts_with("name value\n.."));
}

TEST_F(BoardTest, AWordAsLongAsTheBufferFits) {
    played_.world.put(environment, "n " + std::string(5000, 'v'));
    EXPECT_EQ(set_boot_environment("n", "v"), 0);
    EXPECT_TRUE(played_.world.get(environment)->starts_with("n v\nvv"));
}

TEST_F(BoardTest, TheSwitchGetsItsRegistersInOrder) {
    played_.world.put("/dev/flash0", "");
    EXPECT_EQ(set_up_switch(), 0);
    EXPECT_EQ(transcript(),
              "device /dev/flash0 5 29 23 0\n"
              "device /dev/flash0 5 29 22 1056\n"
              "device /dev/flash0 5 29 24 1\n"
              "device /dev/flash0 5 29 25 1\n"
              "device /dev/flash0 5 29 26 1\n"
              "device /dev/flash0 5 29 27 1\n"
              "device /dev/flash0 5 29 28 2\n"
              "device /dev/flash0 5 30 9 4097\n"
              "device /dev/flash0 5 30 1 12095\n"
              "device /dev/flash0 5 30 2 16176\n");
}

TEST_F(BoardTest, WithoutTheSwitchDeviceThereIsAMessage) {
    EXPECT_EQ(set_up_switch(), -1);
    EXPECT_EQ(transcript(), "print  rc.c: unabled to open mii_mgr pseudo device\n");
}

TEST_F(BoardTest, TheFirstFailingRequestEndsTheSetUp) {
    played_.world.put("/dev/flash0", "");
    played_.device_error = EINVAL;
    EXPECT_EQ(set_up_switch(), -1);
    EXPECT_EQ(transcript(),
              "device /dev/flash0 5 29 23 0\n"
              "error  ioctl: Invalid argument\n");
}

TEST_F(BoardTest, HooksSucceed) {
    EXPECT_EQ(board_hook(), 0);
    EXPECT_EQ(wifi_init(), 0);
    EXPECT_EQ(transcript(), "");
}

TEST_F(BoardTest, FactoryDataNeedsTheWholeRecord) {
    std::string flash(0x2FFAA + 70, '\xAB');
    flash.replace(0x2FF70, 8, "12345670");
    played_.world.put("/dev/mtd0", flash);
    const auto factory = read_factory_data("/dev/mtd0");
    ASSERT_TRUE(factory);
    EXPECT_EQ(factory->wps_pin, "12345670");
    EXPECT_EQ(mac_text(factory->base_mac, 0), "ab:ab:ab:ab:ab:ab");

    for (const size_t size : {size_t{0}, size_t{0x2FF70}, size_t{0x2FFA6}, flash.size() - 1}) {
        played_.world.put("/dev/mtd0", flash.substr(0, size));
        EXPECT_FALSE(read_factory_data("/dev/mtd0")) << size;
    }
}

TEST_F(BoardTest, AZeroByteEndsThePin) {
    std::string flash(0x2FFAA + 70, '\xAB');
    flash.replace(0x2FF70, 8,
                  std::string("1234\0"
                              "567",
                              8));
    played_.world.put("/dev/mtd0", flash);
    const auto factory = read_factory_data("/dev/mtd0");
    ASSERT_TRUE(factory);
    EXPECT_EQ(factory->wps_pin, "1234");
}

TEST(MacText, TheLastByteDoesNotCarry) {
    EXPECT_EQ(mac_text({0x00, 0x11, 0x22, 0x33, 0x44, 0xff}, 1), "00:11:22:33:44:100");
    EXPECT_EQ(mac_text({0x00, 0x11, 0x22, 0x33, 0x44, 0x0f}, 1), "00:11:22:33:44:10");
    EXPECT_EQ(mac_text({0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0x0F}, 0), "aa:bb:cc:dd:ee:0f");
}

}  // namespace
