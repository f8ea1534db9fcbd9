// nvram apply, try and undo when something fails: what is told, and what is left.
#include <gtest/gtest.h>

#include "apply_kit.h"

namespace {

TEST_F(Apply, ChangesNothingWithoutAWorkingCopy) {
    std::filesystem::remove(folder / "tmp/nvram");
    EXPECT_EQ(with_settings("apply", "wifi_ssid=new\n"),
              error("apply: /tmp/nvram: no working copy; run 'nvram load' first"));
    EXPECT_EQ(calls(), "(none)");
}

TEST_F(Apply, AppliedThoughFlashCannotBeWritten) {
    std::filesystem::remove(folder / "flash");
    folder.write("flash", "");
    EXPECT_EQ(
        with_settings("apply --commit", "wifi_ssid=new\n"),
        (Result{2, "rc wlan stop\nrc wlan start\napplied, but not in flash: Not a directory\n",
                ""}));
    EXPECT_EQ(changes(), "- wifi_ssid=old\n+ wifi_ssid=new\n");
}

TEST_F(Apply, ATrialOfSettingsThatCannotBeStoredIsUndone) {
    // The stop half makes the working copy unwritable; the kept file takes its place.
    play_rc("[ \"$2\" = start ] || echo nonsense >> " + (folder / "tmp/nvram") + "\n");
    const Result tried = with_settings("try", "wifi_ssid=new\n");
    EXPECT_EQ(tried.status, 1);
    EXPECT_TRUE(tried.output.ends_with("undone: the settings could not be changed: Bad message\n"))
        << tried;
    EXPECT_EQ(changes(), "");
    EXPECT_EQ(run("trial").status, 1);
}

TEST_F(Apply, KeepsAllAsItWasIfTheSettingsCannotBeStored) {
    // The stop half makes the working copy unwritable.
    play_rc("[ \"$2\" = start ] || echo nonsense >> " + (folder / "tmp/nvram") + "\n");
    const Result result = with_settings("apply", "wifi_ssid=new\n");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output,
              "rc wlan stop\nrc wlan start\nthe settings could not be changed: Bad message; all is "
              "as it was\n");
    EXPECT_EQ(calls(), "wlan stop old\nwlan start old\n");
}

// There are processes for so many generations of nvram's children, and then no more. The sanitizers
// want to be loaded first, and to start a process of their own at the end.
class FewProcesses : public Apply {
  protected:
    void allow(int generations) {
        command = "env ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0 FORKS=" +
                  std::to_string(generations) + " " FEW_FORKS " " NVRAM_COMMAND;
    }
};

TEST_F(FewProcesses, NoneForAWorker) {
    allow(0);
    for (const char* const verb : {"apply", "try"}) {
        const Result result = with_settings(verb, "wifi_ssid=new\n");
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.errors,
                  "nvram: no process can be started: Resource temporarily unavailable; nothing was "
                  "changed\n");
    }
    EXPECT_EQ(calls(), "(none)");
    EXPECT_EQ(changes(), "");
    command = NVRAM_COMMAND;
    EXPECT_EQ(run("trial"),
              (Result{1, "", "nvram: trial: no change is on trial; the last one: not begun\n"}));
}

// Without a stop half, the settings stay; a trial ends.
TEST_F(FewProcesses, NoneForRc) {
    const std::string halves =
        "rc wlan stop\n    could not be started\nrc wlan start\n    could not be started\n";
    const std::string reason =
        "the settings could not be changed: Resource temporarily unavailable";
    allow(1);
    EXPECT_EQ(with_settings("apply", "wifi_ssid=new\n"),
              (Result{2, halves + reason + "; all is as it was\n", ""}));
    EXPECT_EQ(changes(), "");
    EXPECT_EQ(calls(), "(none)");
}

// A start half that finds no process: the settings are changed, and a trial is undone as soon as
// there is one.
TEST_F(Apply, RcThatCannotBeStartedAgain) {
    play_rc("[ \"$2\" = start ] || mv \"$0\" \"$0.away\"\n");
    EXPECT_EQ(with_settings("apply", "wifi_ssid=new\n"),
              (Result{2,
                      "rc wlan stop\nrc wlan start\n    could not be started\nthe settings are "
                      "changed, but not in use: run the rc actions again\n",
                      ""}));
    EXPECT_EQ(changes(), "- wifi_ssid=old\n+ wifi_ssid=new\n");
}

TEST_F(Apply, ATrialIsUndoneAsSoonAsRcCanBeStarted) {
    play_rc("[ \"$2\" = start ] || mv \"$0\" \"$0.away\"\n");
    const Result tried = with_settings("try --seconds 10", "wifi_ssid=new\n");
    EXPECT_EQ(tried.status, 2);
    EXPECT_TRUE(tried.output.ends_with("the old settings could not be restored yet\n")) << tried;
    EXPECT_EQ(run("trial").status, 0);
    std::filesystem::rename(folder / "usr/sbin/rc.away", folder / "usr/sbin/rc");
    play_rc("");
    ASSERT_TRUE(has_ended());
    EXPECT_EQ(run("trial").errors,
              "nvram: trial: no change is on trial; the last one: undone: not confirmed in time\n");
    EXPECT_EQ(changes(), "");
    EXPECT_EQ(calls(), "wlan stop old\nwlan stop old\nwlan start old\n");
}

// Something is in the way of a trial's files.
TEST_F(Apply, ATrialThatCannotBeginChangesNothing) {
    for (const char* const name : {"nvram.before", "nvram.trial"}) {
        std::filesystem::create_directories(folder / "tmp" + ("/" + std::string(name)) + "/x");
        const Result tried = with_settings("try", "wifi_ssid=new\n");
        EXPECT_EQ(tried.status, 2) << name;
        EXPECT_EQ(tried.output, "");
        EXPECT_TRUE(tried.errors.ends_with("; nothing was changed\n")) << tried;
        EXPECT_EQ(calls(), "(none)");
        EXPECT_EQ(changes(), "");
        std::filesystem::remove_all(folder / "tmp" + ("/" + std::string(name)));
    }
    EXPECT_EQ(folder.read("tmp/nvram.before"), "(none)");
}

// Somebody has removed what the settings were before.
TEST_F(Apply, AnUndoWithoutTheOldSettingsSaysSo) {
    const std::string token = token_in(with_settings("try --seconds 1000", "wifi_ssid=new\n"));
    std::filesystem::remove(folder / "tmp/nvram.before");
    const Result undone = run("undo");
    EXPECT_EQ(undone.status, 2);
    EXPECT_EQ(undone.output, "the old settings could not be restored\n");
    EXPECT_EQ(run("confirm " + token), done());
    EXPECT_EQ(changes(), "- wifi_ssid=old\n+ wifi_ssid=new\n");
}

TEST_F(Apply, AnUndoWithoutAWorkingCopySaysSo) {
    const std::string path = folder / "tmp/nvram";
    const std::string token = token_in(with_settings("try --seconds 1000", "wifi_ssid=new\n"));
    std::filesystem::rename(path, path + ".away");
    std::filesystem::create_directory(path);
    const Result undone = run("undo");
    EXPECT_EQ(undone.status, 2);
    EXPECT_TRUE(undone.output.ends_with("the old settings could not be restored\n")) << undone;
    std::filesystem::remove(path);
    std::filesystem::rename(path + ".away", path);
    EXPECT_EQ(run("confirm " + token), done());
}

#ifndef __mips__
// With ever more open files allowed, it is once the worker's pipe that cannot be had. An emulator
// of user programs does not count files as the kernel does.
TEST_F(Apply, NeedsFilesForItsWorker) {
    const std::string no_pipe =
        "nvram: no pipe can be opened: Too many open files; nothing was changed\n";
    Result result = done();
    for (int files = 4; files < 32 && result.errors != no_pipe; ++files) {
        command = "ulimit -n " + std::to_string(files) + "; " NVRAM_COMMAND;
        result = with_settings("apply", "wifi_ssid=new\n");
    }
    EXPECT_EQ(result, (Result{2, "", no_pipe}));
    command = NVRAM_COMMAND;
    EXPECT_EQ(calls(), "(none)");
    EXPECT_EQ(changes(), "");
}
#endif

TEST_F(Apply, TheGuardIsDeafToSignals) {
    EXPECT_EQ(with_settings("try --seconds 10", "wifi_ssid=new\n").status, 0);
    const std::string guards = "pkill -$s -f \"[n]vram --root " + folder.path() + " try\"";
    EXPECT_EQ(
        std::system(("for s in HUP INT QUIT TERM USR1 PIPE; do " + guards + "; done").c_str()), 0);
    EXPECT_TRUE(run("trial --json").output.ends_with(",\"guarded\":true}\n"));
    ASSERT_TRUE(has_ended());
    EXPECT_EQ(run("get wifi_ssid"), done("old\n"));
}

TEST_F(Apply, AGuardThatWasKilledIsReported) {
    EXPECT_EQ(with_settings("try", "wifi_ssid=new\n").status, 0);
    // Its lock ends with the process, shortly after the signal.
    const std::string guards = "-f \"[n]vram --root " + folder.path() + " try\"";
    EXPECT_EQ(std::system(("pkill -KILL " + guards + " && for i in $(seq 1200); do pgrep " +
                           guards + " >/dev/null || exit 0; sleep 0.05; done; exit 1")
                              .c_str()),
              0);
    const std::string end =
        "its guard has ended: nothing undoes it but 'nvram undo' or a restart\n";
    EXPECT_TRUE(run("trial").output.ends_with(end));
    EXPECT_EQ(run("undo").status, 0);
    EXPECT_EQ(run("get wifi_ssid"), done("old\n"));
}

}  // namespace
