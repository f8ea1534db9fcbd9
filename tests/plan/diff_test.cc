// The differences in effect between two settings files, and the settings that cause them.

#include "plan/diff/diff.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

bool on(const Settings& settings, const std::string& key) {
    const auto found = settings.find(key);
    return found != settings.end() && found->second == "1";
}

std::string value_of(const Settings& settings, const std::string& key) {
    const auto found = settings.find(key);
    return found == settings.end() ? "-" : found->second;
}

// A play of one transcript that reads all of these settings.
PlayWith play_of(std::set<std::string> settings_read,
                 std::function<void(const Settings&, Transcript&)> record) {
    return [settings_read = std::move(settings_read),
            record = std::move(record)](const Settings& settings) {
        Played played = {.parts = {Transcript()}, .settings_read = settings_read};
        record(settings, played.parts[0]);
        return played;
    };
}

// A change as one text: "-line", "+line", then the settings.
std::string change_text(const Difference& difference, const EffectChange& change) {
    std::string text;
    const auto add = [&](char sign, const Transcript& transcript,
                         const std::vector<Origin>& lines) {
        for (const Origin& place : lines)
            text += sign + event_lines(transcript.events()[place.event])[place.line] + "\n";
    };
    if (change.within) text += " " + difference.a.events()[change.within->a].text + "\n";
    add('-', difference.a, change.a);
    add('+', difference.b, change.b);
    for (const std::string& key : change.because) text += "<" + key;
    return text;
}

std::vector<std::string> changes(const Settings& a, const Settings& b, const PlayWith& play) {
    const std::vector<Difference> parts = differences(a, b, play);
    EXPECT_EQ(parts.size(), 1U);
    std::vector<std::string> list;
    for (const EffectChange& change : parts[0].changes)
        list.push_back(change_text(parts[0], change));
    return list;
}

TEST(ChangedSettings, AreThoseWithAnotherValueOrOnOneSideOnly) {
    const std::vector<SettingChange> changed =
        changed_settings({{"both", "1"}, {"empty", ""}, {"gone", "x"}, {"other", "1"}},
                         {{"both", "1"}, {"new", ""}, {"other", "2"}});
    ASSERT_EQ(changed.size(), 4U);
    EXPECT_EQ(changed[0].key, "empty");
    EXPECT_EQ(changed[0].a, "");
    EXPECT_EQ(changed[0].b, std::nullopt);
    EXPECT_EQ(changed[1].key, "gone");
    EXPECT_EQ(changed[2].key, "new");
    EXPECT_EQ(changed[2].a, std::nullopt);
    EXPECT_EQ(changed[2].b, "");
    EXPECT_EQ(changed[3].key, "other");
    EXPECT_EQ(changed[3].a, "1");
    EXPECT_EQ(changed[3].b, "2");
    EXPECT_THAT(changed_settings({{"a", "1"}}, {{"a", "1"}}), IsEmpty());
}

TEST(Differences, NoneIfTheTranscriptsAreEqual) {
    const PlayWith play = play_of(
        {"a"}, [](const Settings&, Transcript& transcript) { transcript.add("run", "true"); });
    EXPECT_THAT(changes({{"a", "1"}}, {{"a", "2"}}, play), IsEmpty());
}

TEST(Differences, EachLineOfAFileHasItsReason) {
    const PlayWith play =
        play_of({"first", "last", "same"}, [](const Settings& settings, Transcript& transcript) {
            transcript.add_with_body("write", "/etc/x",
                                     "head\nfirst " + value_of(settings, "first") + "\nlast " +
                                         value_of(settings, "last") + "\n");
            transcript.add("run", "daemon");
        });
    EXPECT_THAT(changes({{"first", "1"}, {"last", "1"}, {"same", "1"}},
                        {{"first", "2"}, {"last", "2"}, {"same", "2"}}, play),
                ElementsAre(" /etc/x\n-     | first 1\n+     | first 2\n<first",
                            " /etc/x\n-     | last 1\n+     | last 2\n<last"));
}

TEST(Differences, OneReasonForNeighbouringLines) {
    const PlayWith play =
        play_of({"ttl", "mss"}, [](const Settings& settings, Transcript& transcript) {
            std::string body;
            for (const char* rule : {"one ", "two "})
                body += rule + value_of(settings, "mss") + "\n";
            if (on(settings, "ttl")) body += "ttl\n";
            transcript.add_with_body("write", "/tmp/rules", body);
        });
    EXPECT_THAT(changes({{"mss", "5"}}, {{"mss", "6"}}, play),
                ElementsAre(" /tmp/rules\n-     | one 5\n-     | two 5\n"
                            "+     | one 6\n+     | two 6\n<mss"));
    EXPECT_THAT(changes({{"mss", "5"}}, {{"mss", "6"}, {"ttl", "1"}}, play),
                ElementsAre(" /tmp/rules\n-     | one 5\n-     | two 5\n"
                            "+     | one 6\n+     | two 6\n<mss",
                            " /tmp/rules\n+     | ttl\n<ttl"));
}

TEST(Differences, ALineOfSeveralValuesHasAllChangedSettings) {
    const PlayWith play =
        play_of({"ip", "mask", "if"}, [](const Settings& settings, Transcript& transcript) {
            transcript.add("run", "ifconfig " + value_of(settings, "if") + " " +
                                      value_of(settings, "ip") + " " + value_of(settings, "mask"));
        });
    EXPECT_THAT(changes({{"if", "br0"}, {"ip", "1"}, {"mask", "255"}},
                        {{"if", "br0"}, {"ip", "2"}, {"mask", "254"}}, play),
                ElementsAre("-run    ifconfig br0 1 255\n+run    ifconfig br0 2 254\n<ip<mask"));
}

TEST(Differences, BothSettingsThatAreNeededTogether) {
    const PlayWith play =
        play_of({"enable", "server"}, [](const Settings& settings, Transcript& transcript) {
            if (on(settings, "enable") && value_of(settings, "server") != "-")
                transcript.add("run", "daemon");
        });
    const Settings off = {{"other", "1"}};
    const Settings both = {{"enable", "1"}, {"server", "h"}};
    EXPECT_THAT(changes(off, both, play), ElementsAre("+run    daemon\n<enable<server"));
    // Either alone removes it.
    EXPECT_THAT(changes(both, off, play), ElementsAre("-run    daemon\n<enable<server"));
}

TEST(Differences, ASwitchAndTheValueItEnablesBothCount) {
    const PlayWith play =
        play_of({"enable", "port"}, [](const Settings& settings, Transcript& transcript) {
            if (on(settings, "enable")) transcript.add("run", "d " + value_of(settings, "port"));
        });
    EXPECT_THAT(changes({{"port", "1"}}, {{"enable", "1"}, {"port", "1"}}, play),
                ElementsAre("+run    d 1\n<enable"));
    EXPECT_THAT(changes({{"port", "1"}}, {{"enable", "1"}, {"port", "2"}}, play),
                ElementsAre("+run    d 2\n<enable<port"));
    EXPECT_THAT(changes({{"port", "1"}}, {{"enable", "0"}, {"port", "2"}}, play), IsEmpty());
}

// One setting causes the line, another prevents it in B, and a third compensates for that.
TEST(Differences, ASettingThatUndoesTheChangeAloneCountsToo) {
    const PlayWith play =
        play_of({"cure", "cause", "bar"}, [](const Settings& settings, Transcript& transcript) {
            if (on(settings, "cause") && (!on(settings, "bar") || on(settings, "cure")))
                transcript.add("run", "daemon");
        });
    EXPECT_THAT(changes({}, {{"bar", "1"}, {"cause", "1"}, {"cure", "1"}}, play),
                ElementsAre("+run    daemon\n<cause<cure"));
}

// No single one of three settings produces or removes the line, but two together do.
TEST(Differences, ASmallestGroupIfNoSettingAloneMatters) {
    const PlayWith play =
        play_of({"a", "b", "c", "d"}, [](const Settings& settings, Transcript& transcript) {
            int votes = 0;
            for (const char* key : {"a", "b", "c"}) votes += on(settings, key) ? 1 : 0;
            transcript.add("run", votes >= 2 ? "many" : "few");
            transcript.add("run", "d " + value_of(settings, "d"));
        });
    const std::vector<std::string> found =
        changes({{"d", "1"}}, {{"a", "1"}, {"b", "1"}, {"c", "1"}, {"d", "2"}}, play);
    EXPECT_THAT(found,
                ElementsAre("-run    few\n+run    many\n<b<c", "-run    d 1\n+run    d 2\n<d"));
}

TEST(Differences, ASettingThatIsNotReadIsNotPlayed) {
    int plays = 0;
    const PlayWith play = [&](const Settings& settings) {
        plays++;
        Played played = {.parts = {Transcript()}, .settings_read = {"a"}};
        played.parts[0].add("run", value_of(settings, "a"));
        return played;
    };
    EXPECT_THAT(changes({{"a", "1"}}, {{"a", "2"}, {"b", "2"}, {"c", "2"}}, play),
                ElementsAre("-run    1\n+run    2\n<a"));
    // A, B, and "a" alone changed from A to B and from B to A.
    EXPECT_EQ(plays, 4);
}

TEST(Differences, EventsOfOneSideWithTheirBodiesAndTheirPlace) {
    const PlayWith play = play_of({"dod"}, [](const Settings& settings, Transcript& transcript) {
        transcript.add("run", "up");
        if (on(settings, "dod")) {
            transcript.add_with_body("write", "/tmp/options", "idle 300\ndemand");
            transcript.add("pause", "2 s");
        }
        transcript.add("run", "dial");
        transcript.add("pause", "1 s");
    });
    const std::vector<Difference> parts = differences({}, {{"dod", "1"}}, play);
    ASSERT_EQ(parts[0].changes.size(), 1U);
    EXPECT_EQ(change_text(parts[0], parts[0].changes[0]),
              "+write  /tmp/options\n+     | idle 300\n+     \\ demand\n+pause  2 s\n<dod");
    EXPECT_THAT(parts[0].changes[0].b,
                ElementsAre(Origin{1, 0}, Origin{1, 1}, Origin{1, 2}, Origin{2, 0}));
    // The three other events are shared.
    ASSERT_EQ(parts[0].shared.size(), 3U);
    EXPECT_EQ(parts[0].shared[1].a, 1U);
    EXPECT_EQ(parts[0].shared[1].b, 3U);
}

TEST(Differences, AMovedPauseIsRemovedAndAdded) {
    const PlayWith play = play_of({"late"}, [](const Settings& settings, Transcript& transcript) {
        if (!on(settings, "late")) transcript.add("pause", "1 s");
        transcript.add("run", "one");
        transcript.add("run", "two");
        if (on(settings, "late")) transcript.add("pause", "1 s");
    });
    EXPECT_THAT(changes({}, {{"late", "1"}}, play),
                ElementsAre("-pause  1 s\n<late", "+pause  1 s\n<late"));
}

TEST(Differences, OfTwoWritesOfAFileTheIdenticalOneIsShared) {
    const PlayWith play = play_of({"twice"}, [](const Settings& settings, Transcript& transcript) {
        if (on(settings, "twice")) transcript.add_with_body("write", "/x", "1\n2\n3\n");
        transcript.add_with_body("write", "/x", "1\n2\n4\n");
    });
    EXPECT_THAT(changes({{"twice", "1"}}, {}, play),
                ElementsAre("-write  /x\n-     | 1\n-     | 2\n-     | 3\n<twice"));
}

TEST(Differences, PrintedLinesAndBytes) {
    const PlayWith play =
        play_of({"mode", "mac"}, [](const Settings& settings, Transcript& transcript) {
            transcript.print("wan mode =" + value_of(settings, "mode") + "\nstart\n");
            transcript.add_with_body("write", "/var/leases",
                                     std::string("\0\1", 2) + value_of(settings, "mac"));
        });
    EXPECT_THAT(changes({{"mac", "a"}, {"mode", "ip"}}, {{"mac", "b"}, {"mode", "ras"}}, play),
                ElementsAre(" \n-print  wan mode =ip\n+print  wan mode =ras\n<mode",
                            " /var/leases\n-     x 00 01 61\n+     x 00 01 62\n<mac"));
}

TEST(Differences, DepthDistinguishesANestedEventFromAnOuterOne) {
    const PlayWith play = play_of({"nested"}, [](const Settings& settings, Transcript& transcript) {
        transcript.depth = on(settings, "nested") ? 1 : 0;
        transcript.add("run", "stop");
    });
    EXPECT_THAT(changes({}, {{"nested", "1"}}, play),
                ElementsAre("-run    stop\n+    run    stop\n<nested"));
}

TEST(Differences, EachPartHasItsOwnDifference) {
    const PlayWith play = [](const Settings& settings) {
        Played played = {.parts = {Transcript(), Transcript(), Transcript()},
                         .settings_read = {"a", "c"}};
        played.parts[0].add("run", value_of(settings, "a"));
        played.parts[1].add("run", "b");
        played.parts[2].add("run", value_of(settings, "c"));
        return played;
    };
    const std::vector<Difference> parts =
        differences({{"a", "1"}, {"c", "1"}}, {{"a", "2"}, {"c", "2"}}, play);
    ASSERT_EQ(parts.size(), 3U);
    ASSERT_EQ(parts[0].changes.size(), 1U);
    EXPECT_THAT(parts[0].changes[0].because, ElementsAre("a"));
    EXPECT_THAT(parts[1].changes, IsEmpty());
    ASSERT_EQ(parts[2].changes.size(), 1U);
    EXPECT_THAT(parts[2].changes[0].because, ElementsAre("c"));
}

}  // namespace
