// The helpers for running commands, printing and tracing, over the recording platform.

#include "core/command.h"

#include "core/file.h"
#include "core/platform.h"
#include "core/unused.h"
#include "recorded.h"

namespace {

using CommandTest = RecordedTest;

TEST_F(CommandTest, SystemRunsTheComposedLineAndYieldsOnce) {
    const long long before = played_.world.clock_microseconds;
    EXPECT_EQ(SYSTEM("/sbin/ifconfig %s mtu %d", "eth2.2", 1492), 0);
    EXPECT_EQ(transcript(), "run    /sbin/ifconfig eth2.2 mtu 1492\n");
    EXPECT_EQ(played_.yields, 1);
    EXPECT_EQ(played_.world.clock_microseconds, before + 1);
}

TEST_F(CommandTest, SystemCutsAt4095Characters) {
    EXPECT_EQ(SYSTEM("%s", std::string(5000, 'x').c_str()), 0);
    EXPECT_EQ(transcript(), "run    " + std::string(4095, 'x') + "\n");
}

TEST_F(CommandTest, ALineOfExactlyTheLimitIsWhole) {
    SYSTEM("%s", std::string(4095, 'x').c_str());
    EXPECT_EQ(transcript(), "run    " + std::string(4095, 'x') + "\n");
}

TEST_F(CommandTest, ALineThatIsItsOwnFormatReadsNoArguments) {
    EXPECT_EQ(SYSTEM_collapsed("echo 50%% %s %n %d"), 0);
    EXPECT_EQ(transcript(), "run    echo 50% %s %n %d\n");
    EXPECT_EQ(played_.yields, 1);
}

TEST_F(CommandTest, ALineThatIsItsOwnFormatIsCutAfterCollapsing) {
    SYSTEM_collapsed(std::string(8190, '%') + "tail");
    EXPECT_EQ(transcript(), "run    " + std::string(4095, '%') + "\n");
}

TEST_F(CommandTest, PipeCollectsAllOutput) {
    const std::string printed = "first\n\n" + std::string(9000, 'x') + "\nlast without newline";
    played_.world.outputs["/bin/ps -ax"] = printed;
    OwnedText output;
    EXPECT_EQ(myPipe("/bin/ps -ax", output), 0);
    EXPECT_STREQ(output.get(), printed.c_str());
    EXPECT_EQ(transcript(), "pipe   /bin/ps -ax\n");
}

TEST_F(CommandTest, PipeThatPrintsNothingIsEmptyNotAbsent) {
    OwnedText output;
    EXPECT_EQ(myPipe("true", output), 0);
    EXPECT_STREQ(output.get(), "");
}

TEST_F(CommandTest, PipeThatCannotBeStartedIsEmpty) {
    played_.world.denied.insert({"true", "pipe"});
    OwnedText output(strdup("old"));
    EXPECT_EQ(myPipe("true", output), 0);
    EXPECT_STREQ(output.get(), "");
}

// A process list is as long as the processes' arguments make it.
TEST_F(CommandTest, PipeCollectsMegabytes) {
    std::string printed;
    while (printed.size() < 5u << 20) printed += "  123 root       1540 S    /usr/sbin/udhcpd\n";
    played_.world.outputs["/bin/ps -ax"] = printed;
    OwnedText output;
    EXPECT_EQ(myPipe("/bin/ps -ax", output), 0);
    ASSERT_TRUE(output);
    EXPECT_TRUE(output.get() == printed);
}

TEST_F(CommandTest, AddressOfAnInterface) {
    played_.world.interfaces["br0"].address = "192.168.1.1";
    played_.world.interfaces["eth2.2"].address = std::nullopt;
    EXPECT_EQ(getIPAddress("br0"), "192.168.1.1");
    EXPECT_EQ(getIPAddress("eth2.2"), std::nullopt);
    EXPECT_EQ(getIPAddress("ppp0"), std::nullopt);
    EXPECT_EQ(transcript(), "");
}

TEST_F(CommandTest, WithoutASocketThereIsAMessageAndNoAddress) {
    played_.world.interfaces["br0"].address = "192.168.1.1";
    played_.world.denied.insert({"br0", "socket"});
    EXPECT_EQ(getIPAddress("br0"), std::nullopt);
    EXPECT_EQ(transcript(), "error  socket creating failed: Operation not permitted\n");
}

TEST_F(CommandTest, MessagesAreNotFormats) {
    print("%s", "50% %n");
    print_line(" done %s");
    EXPECT_EQ(transcript(), "print  50% %n done %s\n");
}

TEST_F(CommandTest, TraceGoesToTheConsoleWithItsPlace) {
    console_trace(nullptr, "qos.c", 12, "start_qos", "rate %d", 7);
    EXPECT_EQ(transcript(),
              "append /dev/console\n"
              "     \\ =qos.c(12):start_qos=| rate 7\n");
}

TEST_F(CommandTest, TraceReturnsQuietlyWithoutAConsole) {
    played_.world.denied.insert({"/dev/console", "a"});
    console_trace(nullptr, "qos.c", 12, "start_qos", "x");
    EXPECT_EQ(transcript(), "");
}

TEST_F(CommandTest, TraceClosesAStreamOfItsCaller) {
    console_trace(platform::open_file("/tmp/log", "w"), "a.c", 1, "f", "x\n");
    EXPECT_EQ(transcript(),
              "write  /tmp/log\n"
              "     | =a.c(1):f=| x\n");
}

TEST_F(CommandTest, TraceLeavesStandardOutputOpen) {
    console_trace(platform::standard_output(), "a.c", 1, "f", "x\n");
    print("still there\n");
    EXPECT_EQ(transcript(),
              "print  =a.c(1):f=| x\n"
              "print  still there\n");
}

TEST_F(CommandTest, DebugAppendsOneLineACall) {
    DEBUG("class %d", 20);
    DEBUG("%s", "");
    EXPECT_EQ(transcript(),
              "append /tmp/qostest\n"
              "     | class 20\n"
              "append /tmp/qostest\n"
              "     |\n");
    EXPECT_EQ(*played_.world.get("/tmp/qostest"), "class 20\n\n");
}

TEST_F(CommandTest, DebugIsSilentWhenItsFileCannotBeOpened) {
    played_.world.denied.insert({"/tmp/qostest", "a"});
    DEBUG("x");
    EXPECT_EQ(transcript(), "");
}

TEST_F(CommandTest, TracePointsDoNothing) {
    debug_show("dst %d", 1);
    EXPECT_EQ(transcript(), "");
    EXPECT_EQ(played_.yields, 0);
}

TEST_F(CommandTest, ReadsANumberAtTheStartOfAFile) {
    played_.world.put("/number", "  42 rest");
    played_.world.put("/text", "/proc/uptime\n");
    played_.world.put("/empty", "");
    EXPECT_EQ(open_file("/number", "r").read_number(), 42);
    played_.world.put("/blanks", std::string(100'000, ' ') + "\n\t-7\n");
    EXPECT_EQ(open_file("/blanks", "r").read_number(), -7);
    played_.world.put("/large", "99999999999999999999");
    EXPECT_EQ(open_file("/large", "r").read_number(), INT64_MAX);
    played_.world.put("/small", "-99999999999999999999 1");
    EXPECT_EQ(open_file("/small", "r").read_number(), INT64_MIN);
    played_.world.put("/least", "-9223372036854775808");
    EXPECT_EQ(open_file("/least", "r").read_number(), INT64_MIN);
    played_.world.put("/zeros", "+" + std::string(1'000, '0') + "15-3");
    EXPECT_EQ(open_file("/zeros", "r").read_number(), 15);
    played_.world.put("/sign", "- 5");
    EXPECT_EQ(open_file("/sign", "r").read_number(), std::nullopt);
    EXPECT_EQ(open_file("/text", "r").read_number(), std::nullopt);
    EXPECT_EQ(open_file("/empty", "r").read_number(), std::nullopt);
    EXPECT_FALSE(open_file("/missing", "r"));
}

}  // namespace
