// Actions on a list of applications: order, missing handlers, failures, and the combined result of
// a restart.

#include <algorithm>

#include "core/command.h"
#include "core/run_markers.h"
#include "core/unused.h"
#include "rc/apps.h"
#include "rc/rc.h"
#include "recorded.h"

namespace {

int note(const char* text, int result) {
    print_line(text);
    return result;
}

constexpr rc_app list[] = {
    {"both", [] { return note("start both", 0); }, [] { return note("stop both", 0); }, nullptr},
    {"starts", [] { return note("start starts", 0); }, nullptr, nullptr},
    {"stops", nullptr, [] { return note("stop stops", 0); },
     [] { return note("create stops", 0); }},
    {"positive", [] { return note("start positive", 3); }, nullptr, nullptr},
    {},
};

constexpr rc_app failing_start[] = {
    {"first", [] { return note("start first", -2); }, [] { return note("stop first", 0); },
     nullptr},
    {"second", [] { return note("start second", 0); }, [] { return note("stop second", 0); },
     nullptr},
    {},
};

constexpr rc_app failing_both[] = {
    {"first", [] { return note("start first", -1); }, [] { return note("stop first", -1); },
     nullptr},
    {},
};

constexpr rc_app nothing[] = {{}};

using DispatchTest = RecordedTest;

TEST_F(DispatchTest, AWholeListIsWalkedInOrderWithAYieldAfterEach) {
    EXPECT_EQ(rc_start(list, nullptr), 0);
    EXPECT_EQ(transcript(),
              "print  start both\n"
              "print  start starts\n"
              "print  start positive\n");
    EXPECT_EQ(played_.yields, 3);
}

TEST_F(DispatchTest, OneNameRunsOneHandlerWithoutAYield) {
    EXPECT_EQ(rc_stop(list, "stops"), 0);
    EXPECT_EQ(rc_create(list, "stops"), 0);
    EXPECT_EQ(transcript(),
              "print  stop stops\n"
              "print  create stops\n");
    EXPECT_EQ(played_.yields, 0);
}

TEST_F(DispatchTest, ANameWithoutTheHandlerIsNotFound) {
    EXPECT_EQ(rc_stop(list, "starts"), 1);
    EXPECT_EQ(rc_start(list, "stops"), 1);
    EXPECT_EQ(rc_create(list, "both"), 1);
    EXPECT_EQ(rc_start(list, "Both"), 1);
    EXPECT_EQ(rc_start(list, ""), 1);
    EXPECT_EQ(transcript(), "");
}

TEST_F(DispatchTest, AnEmptyListHasNoName) {
    EXPECT_EQ(rc_start(nothing, nullptr), 0);
    EXPECT_EQ(rc_start(nothing, "both"), 1);
}

TEST_F(DispatchTest, AFailureEndsTheWalk) {
    EXPECT_EQ(rc_start(failing_start, nullptr), -1);
    EXPECT_EQ(transcript(), "print  start first\n");
    EXPECT_EQ(played_.yields, 0);
}

TEST_F(DispatchTest, RestartStopsThenStarts) {
    EXPECT_EQ(rc_action(list, nullptr, "restart"), 0);
    EXPECT_EQ(transcript(),
              "print  stop both\n"
              "print  stop stops\n"
              "print  start both\n"
              "print  start starts\n"
              "print  start positive\n");
}

TEST_F(DispatchTest, RestartWithOneHalfMissingOrFailingCountsAsDone) {
    EXPECT_EQ(rc_action(list, "starts", "restart"), 0);
    EXPECT_EQ(rc_action(list, "stops", "restart"), 0);
    EXPECT_EQ(rc_action(failing_start, "first", "restart"), 0);
}

TEST_F(DispatchTest, RestartFailsOnlyWhenBothHalvesDo) {
    EXPECT_EQ(rc_action(failing_both, "first", "restart"), -1);
    EXPECT_EQ(rc_action(list, "unknown", "restart"), 1);
}

TEST_F(DispatchTest, AFailingHandlerStillLosesItsMarker) {
    EXPECT_EQ(rc_action(failing_both, "first", "start"), -1);
    EXPECT_EQ(transcript(),
              "run    echo /proc/uptime >/var/run/rc.first.run\n"
              "print  start first\n"
              "remove /var/run/rc.first.run\n");
}

TEST_F(DispatchTest, AnUnknownActionPrintsUsage) {
    EXPECT_EQ(rc_action(list, "both", "bogus"), usage_printed);
    EXPECT_EQ(transcript(),
              "run    echo /proc/uptime >/var/run/rc.both.run\n"
              "remove /var/run/rc.both.run\n"
              "print\n"
              "print  Usage: rc [wan|service|ap name] [start|stop|restart|create]\n"
              "print\n");
}

TEST_F(DispatchTest, ABusyApplicationIsSkippedAndKeepsItsMarker) {
    played_.world.uptime_microseconds = 5'000'000;
    played_.world.put("/var/run/rc.both.run", "/proc/uptime\n");
    EXPECT_EQ(rc_action(list, "both", "start"), 0);
    EXPECT_EQ(transcript(), "");
    EXPECT_TRUE(played_.world.get("/var/run/rc.both.run"));
}

TEST_F(DispatchTest, AGroupHasNoMarker) {
    EXPECT_EQ(rc_add_running(nullptr), 0);
    EXPECT_EQ(rc_remove_marker(nullptr), 0);
    EXPECT_EQ(transcript(), "");
}

TEST_F(DispatchTest, RemovingAMarkerByHand) {
    played_.world.put("/var/run/rc.lan.run", "");
    EXPECT_EQ(rc_remove_marker("lan"), 0);
    EXPECT_EQ(transcript(), "remove /var/run/rc.lan.run\n");
    EXPECT_EQ(rc_marker_hook(), 0);
}

TEST_F(DispatchTest, NamesWithShellCharactersMakeNoMarker) {
    const std::string_view special = "/|&;<>()$`\\\"' \t\n*?[]#~=%{}!^\x01\x1f\x7f";
    for (const char c : special) {
        const std::string name = std::string("a") + c + "b";
        EXPECT_EQ(rc_add_running(name.c_str()), 0);
        EXPECT_EQ(rc_remove_marker(name.c_str()), 0);
        EXPECT_EQ(transcript(), "") << name;
    }
}

TEST_F(DispatchTest, OtherNamesMakeAMarker) {
    EXPECT_EQ(rc_add_running("A-z_0.9,:@+"), 0);
    EXPECT_EQ(transcript(), "run    echo /proc/uptime >/var/run/rc.A-z_0.9,:@+.run\n");
}

TEST(Tables, EveryRowDoesSomething) {
    for (const rc_app* list_of_rc : {rc_apps, rc_services})
        for (const rc_app* app = list_of_rc; app->name; app++)
            EXPECT_TRUE(app->start || app->stop || app->create) << app->name;
}

}  // namespace
