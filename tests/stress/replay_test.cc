// The effects of faults, and that each violated invariant is noticed.

#include "replay.h"

#include <gtest/gtest.h>

namespace {

Case case_of(const std::string& text) {
    auto parsed = parse_case("# a case\n" + text + "expect\nexit   0\n");
    if (const auto* error = std::get_if<CaseError>(&parsed)) {
        ADD_FAILURE() << error->message;
        return {};
    }
    return std::get<Case>(parsed);
}

std::string transcript(const Case& stated, Fallible kind, int at, bool once) {
    const Faults faults = {.calls = {}, .kind = kind, .at = at, .once = once};
    return play_case(stated, faults).recording.transcript.text();
}

const Case httpd = case_of(
    "command  rc httpd start\n"
    "setting  http_username=admin\n"
    "setting  http_password=1234\n"
    "setting  device_name=Router\n");

TEST(StatedFaults, AShellThatCannotBeStartedLeavesNoMarkerAndStopsNothing) {
    EXPECT_EQ(transcript(httpd, Fallible::Shell, 1, false),
              "print  ap_name=httpd action=start\n"
              "run    echo /proc/uptime >/var/run/rc.httpd.run\n"
              "write  /tmp/htpasswd\n"
              "     | admin:1234\n"
              "run    /usr/sbin/mini_httpd -d /usr/www -r \"Router\" -c '*.cgi' -t 0&\n"
              "remove /var/run/rc.httpd.run\n"
              "exit   0\n");
    const Faults faults = {.calls = {}, .kind = Fallible::Shell, .at = 1, .once = false};
    EXPECT_EQ(play_case(httpd, faults).recording.world.get("/var/run/rc.httpd.run"), nullptr);
}

TEST(StatedFaults, AFullDiskLeavesAShortFileAndStopsNothing) {
    EXPECT_EQ(transcript(httpd, Fallible::Write, 1, true),
              "print  ap_name=httpd action=start\n"
              "run    echo /proc/uptime >/var/run/rc.httpd.run\n"
              "write  /tmp/htpasswd\n"
              "run    /usr/sbin/mini_httpd -d /usr/www -r \"Router\" -c '*.cgi' -t 0&\n"
              "remove /var/run/rc.httpd.run\n"
              "exit   0\n");
}

TEST(StatedFaults, ASettingsLibraryThatFailsReadsAsNothingSet) {
    const Case all = case_of("command  rc wan start\nsetting  wan_mode=dhcpc\n");
    EXPECT_EQ(transcript(all, Fallible::SettingGet, 1, false),
              "write  /var/run/my_pid_wan\n"
              "     \\ 1000\n"
              "write  /var/run/my_pid\n"
              "     \\ 1000\n"
              "print  wan mode =\n"
              "remove /var/run/my_pid\n"
              "remove /var/run/my_pid_wan\n"
              "exit   0\n");
}

TEST(StatedFaults, ALoadThatFailsEndsTheInitialisationWithTheFactorySettings) {
    const Case boot = case_of(
        "command  rc init\n"
        "power-on\n"
        "flash    device_name=Router\n");
    EXPECT_EQ(transcript(boot, Fallible::SettingsLoad, 1, true),
              "load   failed\n"
              "print  debug init rc -- nvram load failed\\s\n"
              "run    /usr/sbin/nvram default\\s\n"
              "exit   0\n");
}

TEST(StatedFaults, AProcessListThatCannotBeHadStopsNoClient) {
    const Case stop = case_of(
        "command  rc wan stop\n"
        "setting  wan_mode=dhcpc\n"
        "output   /bin/ps -ax\n"
        "     | 70 udhcpc\n");
    const std::string text = transcript(stop, Fallible::Pipe, 1, true);
    EXPECT_EQ(text.find("killall -SIGUSR2 udhcpc"), std::string::npos) << text;
    EXPECT_NE(text.find("run    /sbin/ifconfig eth2.2 0.0.0.0 >/dev/null 2>&1\n"
                        "pause  2 s\n"
                        "remove /var/run/my_pid_wan\n"
                        "exit   0\n"),
              std::string::npos)
        << text;
}

// Each invariant, violated by hand.
class ViolatedInvariants : public testing::Test {
  protected:
    Case stated_ = case_of(
        "command  rc httpd start\n"
        "setting  device_name=Router\n"
        "flash    device_name=Router\n");
    Played whole_ = play_case(stated_, {});
    Played faulty_ =
        play_case(stated_, {.calls = {}, .kind = Fallible::Shell, .at = 2, .once = true});

    std::string broken() const {
        std::string all;
        for (const std::string& what : violated_invariants(stated_, whole_, faulty_))
            all += what + "\n";
        return all;
    }
};

TEST_F(ViolatedInvariants, NoneWithoutAChange) {
    EXPECT_EQ(faulty_.recording.faults.failed, 1);
    EXPECT_EQ(broken(), "");
}

TEST_F(ViolatedInvariants, OfTheStatus) {
    faulty_.status = 1;
    EXPECT_EQ(broken(), "ends with status 1, not 0\n");
}

TEST_F(ViolatedInvariants, OfTheBeginning) {
    Transcript other;
    other.print("ap_name=httpd action=stop\n");
    other.add("run", "true");
    faulty_.recording.transcript = other;
    faulty_.recording.events_before_fault = 2;
    EXPECT_EQ(broken(),
              "does something else before the fault: print ap_name=httpd action=stop\n\n");
}

TEST_F(ViolatedInvariants, OfTheMarker) {
    faulty_.recording.world.put("/var/run/rc.httpd.run", "");
    EXPECT_EQ(broken(), "leaves /var/run/rc.httpd.run\n");
}

TEST_F(ViolatedInvariants, OfTheSettings) {
    faulty_.recording.world.put(working_copy, "device_name=Router\nhalf a li");
    EXPECT_EQ(broken(), "/tmp/nvram: has a damaged line\n");
    faulty_.recording.world.put(working_copy, "");
    EXPECT_EQ(broken(), "/tmp/nvram: has lost a key\n");
    faulty_.recording.world.put(working_copy, "device_name=Rou\n");
    EXPECT_EQ(broken(), "/tmp/nvram: no run stored device_name=Rou\n");
    faulty_.recording.world.files.erase(working_copy);
    EXPECT_EQ(broken(), "/tmp/nvram: is gone\n");
}

TEST_F(ViolatedInvariants, OfTheFlash) {
    faulty_.recording.world.put(flash_image, "");
    EXPECT_EQ(broken(), "/flash/nvram: has lost a key\n");
    faulty_.recording.world.put(flash_image, "device_name=Rou\n");
    EXPECT_EQ(broken(), "/flash/nvram: no run stored device_name=Rou\n");
}

TEST_F(ViolatedInvariants, OfWhatIsStored) {
    faulty_.recording.transcript.add("set", "device_name=");
    EXPECT_EQ(broken(), "stores device_name=\n");
}

}  // namespace
