// nvram apply, try, confirm, undo and trial.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include "apply_kit.h"

namespace {

TEST_F(Apply, StopsWithTheOldSettingsAndStartsWithTheNew) {
    EXPECT_EQ(with_settings("apply", "wifi_ssid=new\nlog_type=0\n"),
              done("rc wlan stop\nrc wlan start\napplied; 'nvram commit' writes it to flash\n"));
    EXPECT_EQ(calls(), "wlan stop old\nwlan start new\n");
    EXPECT_EQ(changes(), "- wifi_ssid=old\n+ wifi_ssid=new\n");
    EXPECT_EQ(folder.read("flash/nvram.a"), "(none)");
}

TEST_F(Apply, RunsEachApplicationOnceInTheirOrder) {
    EXPECT_EQ(
        with_settings("apply", "dhcp_end_ip=192.168.1.200\nwifi_ssid=new\nlog_type=1\n").status, 0);
    EXPECT_EQ(calls(),
              "wlan stop old\nsyslogd stop old\ndhcpd stop old\n"
              "wlan start new\nsyslogd start new\ndhcpd start new\n");
}

TEST_F(Apply, RunsTheInternetSideAsAWhole) {
    EXPECT_EQ(with_settings("apply", "bpa_username=me\nfw_dmz=192.168.1.9\n").status, 0);
    EXPECT_EQ(calls(), "wan stop old\nwan start old\n");
}

TEST_F(Apply, CommitsIfAsked) {
    EXPECT_EQ(with_settings("apply --commit", "wifi_ssid=new\n"),
              done("rc wlan stop\nrc wlan start\napplied, and written to flash\n"));
    EXPECT_EQ(flash(), "");
}

TEST_F(Apply, DryRunChangesNothing) {
    EXPECT_EQ(with_settings("apply --dry-run", "wifi_ssid=new\nap_dns=192.168.1.9\n"),
              done("changes: ap_dns wifi_ssid\nwould run: rc wlan stop\nwould run: rc wlan start\n"
                   "takes at least 4 s\ntakes effect at the next boot: ap_dns\n"));
    EXPECT_EQ(with_settings("apply --dry-run --json", "wifi_ssid=new\nap_dns=192.168.1.9\n"),
              done("{\"changed\":[\"ap_dns\",\"wifi_ssid\"],\"actions\":[\"wlan stop\",\"wlan "
                   "start\"],\"at_boot\":[\"ap_dns\"],\"pauses\":4,\"findings\":" +
                   findings_with("ap_dns=192.168.1.9") + "}\n"));
    EXPECT_EQ(calls(), "(none)");
    EXPECT_EQ(changes(), "");
}

TEST_F(Apply, SpeaksInObjectsIfAsked) {
    EXPECT_EQ(with_settings("apply --json", "wifi_ssid=new\n"),
              done("{\"changed\":[\"wifi_ssid\"],\"actions\":[\"wlan stop\",\"wlan start\"],"
                   "\"at_boot\":[],\"pauses\":4,\"findings\":" +
                   findings_with("wifi_ssid=new") +
                   "}\n"
                   "{\"message\":\"rc wlan stop\"}\n{\"message\":\"rc wlan start\"}\n"
                   "{\"message\":\"applied; 'nvram commit' writes it to flash\"}\n"));
    const Result tried = with_settings("try --json --seconds 11", "wifi_ssid=newest\n");
    const std::size_t at = tried.output.find("\"token\":\"");
    ASSERT_NE(at, std::string::npos) << tried;
    const std::string token = tried.output.substr(at + 9, 32);
    EXPECT_EQ(tried.output,
              "{\"changed\":[\"wifi_ssid\"],\"actions\":[\"wlan stop\",\"wlan start\"],"
              "\"at_boot\":[],\"pauses\":4,\"findings\":" +
                  findings_with("wifi_ssid=newest") + ",\"token\":\"" + token +
                  "\",\"seconds\":11}\n"
                  "{\"message\":\"rc wlan stop\"}\n{\"message\":\"rc wlan start\"}\n"
                  "{\"message\":\"on trial for 11 s; 'nvram confirm " +
                  token + "' keeps it\"}\n");
    EXPECT_EQ(run("confirm " + token).status, 0);
    // Refused or not, the findings are there.
    for (const char* const verb : {"apply --json", "try --json", "apply --dry-run --json"}) {
        const Result result = with_settings(verb, "lan_netmask=255.0.255.0\n");
        EXPECT_EQ(result.status, 1) << verb;
        const std::string findings = findings_with("lan_netmask=255.0.255.0");
        EXPECT_NE(findings.find("\"level\":\"error\""), std::string::npos) << findings;
        EXPECT_TRUE(result.output.ends_with(",\"findings\":" + findings + "}\n")) << result;
    }
    EXPECT_EQ(calls(), "wlan stop old\nwlan start new\nwlan stop new\nwlan start newest\n");
}

TEST_F(Apply, RefusesWhatItCannotDo) {
    EXPECT_EQ(with_settings("apply", "nonsense\n"),
              (Result{2, "",
                      "nvram: apply: /wanted: line 1 is not KEY=VALUE\n"
                      "nvram: apply: /wanted: no setting was changed\n"}));
    EXPECT_EQ(run("apply /no/such/file"), error("apply: /no/such/file: No such file or directory"));
    std::filesystem::remove(folder / "usr/sbin/rc");
    EXPECT_EQ(with_settings("apply", "wifi_ssid=new\n"),
              error("apply: /usr/sbin/rc: No such file or directory; nothing was changed"));
    EXPECT_EQ(run("try --seconds 5 /dev/null"),
              error("5: not a number of seconds from 10 to 86400 (try 'nvram --help')"));
    EXPECT_EQ(run("apply --seconds 20 /dev/null"),
              error("apply: does not take --seconds or --probe (try 'nvram --help')"));
    EXPECT_EQ(calls(), "(none)");
}

TEST_F(Apply, OnlyOneChangeAtATime) {
    const std::string path = folder / "tmp/nvram.apply";
    const int other = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    for (const char* const verb : {"apply", "try"})
        EXPECT_EQ(with_settings(verb, "wifi_ssid=new\n"),
                  (Result{1, "",
                          std::string("nvram: ") + verb +
                              ": another change is under way; nothing was changed\n"}));
    close(other);
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_EQ(with_settings("apply", "wifi_ssid=new\n"),
              error("apply: /tmp/nvram.apply: Is a directory; nothing was changed"));
    EXPECT_EQ(calls(), "(none)");
    EXPECT_EQ(changes(), "");
}

TEST_F(Apply, TellsTheStatusOfRc) {
    play_rc("[ \"$2\" = start ] || exit 3\n");
    EXPECT_EQ(with_settings("apply", "wifi_ssid=new\n"),
              done("rc wlan stop\n    ended with status 3\nrc wlan start\n"
                   "applied; 'nvram commit' writes it to flash\n"));
}

TEST_F(Apply, RefusesSettingsWithErrors) {
    for (const char* verb : {"apply", "try"}) {
        const Result result = with_settings(verb, "lan_netmask=255.0.255.0\n");
        EXPECT_EQ(result.status, 1);
        EXPECT_TRUE(result.output.starts_with("lan_netmask=255.0.255.0\n    error: ")) << result;
        EXPECT_EQ(result.errors,
                  std::string("nvram: ") + verb +
                      ": the settings have errors (--force applies them); nothing was"
                      " changed\n");
    }
    EXPECT_EQ(calls(), "(none)");
    EXPECT_EQ(with_settings("apply --force", "lan_netmask=255.0.255.0\n").status, 0);
    EXPECT_EQ(run("get lan_netmask"), done("255.0.255.0\n"));
}

TEST_F(Apply, AConfirmedTrialIsInFlash) {
    const Result tried = with_settings("try", "wifi_ssid=new\n");
    const std::string token = token_in(tried);
    EXPECT_EQ(token.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_EQ(tried, done("token: " + token +
                          "\nrc wlan stop\nrc wlan start\non trial for 120 s; 'nvram confirm " +
                          token + "' keeps it\n"));
    EXPECT_EQ(folder.read("flash/nvram.a"), "(none)");
    EXPECT_EQ(run("confirm 00000000000000000000000000000000").status, 1);
    // On standard input, other processes do not see it.
    EXPECT_EQ(run("confirm - <<< 0123").status, 1);
    EXPECT_EQ(run("confirm - <<< " + token), done());
    EXPECT_EQ(flash(), "");
    EXPECT_EQ(run("trial"),
              (Result{1, "", "nvram: trial: no change is on trial; the last one: confirmed\n"}));
    EXPECT_EQ(run("confirm " + token).status, 1);
    EXPECT_EQ(calls(), "wlan stop old\nwlan start new\n");
}

TEST_F(Apply, UndoRunsStopAndStartForTheSame) {
    EXPECT_EQ(with_settings("try", "wifi_ssid=new\nother=1\n").status, 0);
    EXPECT_EQ(run("undo"), done("rc wlan stop\nrc wlan start\nundone\n"));
    EXPECT_EQ(calls(), "wlan stop old\nwlan start new\nwlan stop new\nwlan start old\n");
    EXPECT_EQ(changes(), "");
    EXPECT_EQ(run("undo"), (Result{1, "",
                                   "nvram: undo: no change is on trial; the last one: undone: by "
                                   "nvram undo\n"}));
}

TEST_F(Apply, WhatOthersHaveChangedMeanwhileStays) {
    EXPECT_EQ(with_settings("try", "wifi_ssid=new\n").status, 0);
    EXPECT_EQ(run("set log_type=1"), done());
    EXPECT_EQ(run("undo").status, 0);
    EXPECT_EQ(changes(), "- log_type=0\n+ log_type=1\n");
}

TEST_F(Apply, ATrialThatNobodyConfirmsIsUndone) {
    EXPECT_EQ(with_settings("try --seconds 10", "wifi_ssid=new\n").status, 0);
    ASSERT_TRUE(has_ended());
    EXPECT_EQ(run("trial").errors,
              "nvram: trial: no change is on trial; the last one: undone: not confirmed in time\n");
    EXPECT_EQ(calls(), "wlan stop old\nwlan start new\nwlan stop new\nwlan start old\n");
    EXPECT_EQ(folder.read("flash/nvram.a"), "(none)");
}

TEST_F(Apply, WhileATrialRunsNothingElseWritesFlashOrApplies) {
    const std::string token = token_in(with_settings("try", "wifi_ssid=new\n"));
    const std::string busy = "a change is on trial; first 'nvram confirm TOKEN' or 'nvram undo'";
    EXPECT_EQ(run("commit"), (Result{1, "", "nvram: commit: " + busy + "\n"}));
    EXPECT_EQ(run("default"), (Result{1, "", "nvram: default: " + busy + "\n"}));
    for (const char* verb : {"apply", "try"})
        EXPECT_EQ(
            with_settings(verb, "wifi_ssid=third\n"),
            (Result{1, "",
                    std::string("nvram: ") + verb + ": " + busy + "; nothing was changed\n"}));
    EXPECT_EQ(run("get wifi_ssid"), done("new\n"));
    EXPECT_EQ(run("confirm " + token), done());
    EXPECT_EQ(run("commit"), done());
}

TEST_F(Apply, TellsWhatIsOnTrial) {
    const std::string token = token_in(with_settings("try --seconds 1000", "wifi_ssid=new\n"));
    const Result text = run("trial");
    EXPECT_EQ(text.status, 0);
    EXPECT_TRUE(text.output.starts_with("on trial: wifi_ssid\nsince: ")) << text;
    const Result json = run("trial --json");
    EXPECT_TRUE(
        json.output.starts_with("{\"on_trial\":true,\"changed\":[\"wifi_ssid\"],\"since\":"))
        << json;
    EXPECT_TRUE(json.output.ends_with(",\"guarded\":true}\n")) << json;
    EXPECT_EQ(json.output.find(token), std::string::npos);
    EXPECT_EQ(run("confirm " + token), done());
    EXPECT_EQ(run("trial --json"),
              (Result{1, "{\"on_trial\":false,\"last\":\"confirmed\"}\n", ""}));
}

TEST_F(Apply, AProbeThatFailsAfterTheChangeUndoesIt) {
    play_rc("[ \"$*\" != 'wlan start' ] || rm -f " + (folder / "gateway") + "\n");
    folder.write("gateway", "");
    const Result result = with_settings(
        "try --seconds 10 --probe \"test -e " + (folder / "gateway") + "\" --probe false",
        "wifi_ssid=new\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(plain(result.output).substr(40),
              "rc wlan stop\nrc wlan start\nrc wlan stop\nrc wlan start\nundone: a probe fails: "
              "test -e /gateway\n");
    EXPECT_EQ(result.errors, "nvram: try: fails already, so it does not count: false\n");
    EXPECT_EQ(run("get wifi_ssid"), done("old\n"));
}

TEST_F(Apply, ProgramsInTheProbesFolderAreProbes) {
    std::filesystem::create_directories(folder / "etc/nvram/probes");
    folder.write("etc/nvram/probes/10-page", "#!/bin/sh\n[ ! -e " + (folder / "calls") + " ]\n");
    folder.write("etc/nvram/probes/notes", "no program\n");
    chmod((folder / "etc/nvram/probes/10-page").c_str(), 0755);
    const Result result = with_settings("try --seconds 10", "wifi_ssid=new\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(
        plain(result.output).ends_with("undone: a probe fails: /etc/nvram/probes/10-page\n"))
        << result;
}

TEST_F(Apply, ThePreviousGeneration) {
    EXPECT_EQ(run("previous").status, 2);
    EXPECT_EQ(run("commit"), done());
    EXPECT_EQ(run("set wifi_ssid=new pppoe_password=secret"), done());
    EXPECT_EQ(run("commit"), done());
    EXPECT_EQ(
        run("previous"),
        (Result{1,
                "- pppoe_password=\n+ pppoe_password=********\n- wifi_ssid=old\n+ wifi_ssid=new\n",
                ""}));
    EXPECT_EQ(run("previous --json"),
              (Result{1,
                      "{\"key\":\"pppoe_password\",\"old\":\"\",\"new\":\"********\"}\n"
                      "{\"key\":\"wifi_ssid\",\"old\":\"old\",\"new\":\"new\"}\n",
                      ""}));
    EXPECT_EQ(run("load --previous"), done());
    EXPECT_EQ(run("get wifi_ssid"), done("old\n"));
}

TEST_F(Apply, ShowsSettingsAsJson) {
    EXPECT_EQ(run("set http_password=x"), done());
    EXPECT_EQ(run("show --json http_p"), done("{\"http_password\":\"********\"}\n"));
    EXPECT_EQ(run("show --json --show-secrets http_p"), done("{\"http_password\":\"x\"}\n"));
    EXPECT_EQ(run("show --json none"), no("{}\n"));
}

}  // namespace
