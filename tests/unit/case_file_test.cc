// Cases that are like another: what they inherit, and the changes that they expect.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "plan/router/case_difference.h"
#include "plan/router/case_file.h"
#include "plan/router/recording.h"

namespace {

// Two files, a repeated pause, a nested run.
constexpr const char* base =
    "print  start\n"
    "write  /tmp/rules\n"
    "     | flush\n"
    "     | accept lo\n"
    "     | log\n"
    "     | drop\n"
    "     | log\n"
    "pause  1 s\n"
    "run    /usr/sbin/rc lan stop\n"
    "    write  /tmp/lan\n"
    "         | off\n"
    "    exit   0\n"
    "pause  1 s\n"
    "exit   0\n";

struct Change {
    const char* changes;
    const char* transcript;
};

constexpr Change changes[] = {
    {"", base},
    // A line of a file is replaced.
    {"  write  /tmp/rules\n"
     "-      | drop\n"
     "+      | reject\n",
     "print  start\nwrite  /tmp/rules\n     | flush\n     | accept lo\n     | log\n     | reject\n"
     "     | log\npause  1 s\nrun    /usr/sbin/rc lan stop\n    write  /tmp/lan\n         | off\n"
     "    exit   0\npause  1 s\nexit   0\n"},
    // Lines at the beginning and at the end of a file.
    {"  write  /tmp/rules\n"
     "+      | first\n"
     "       | drop\n"
     "       | log\n"
     "+      | last\n",
     "print  start\nwrite  /tmp/rules\n     | first\n     | flush\n     | accept lo\n     | log\n"
     "     | drop\n     | log\n     | last\npause  1 s\nrun    /usr/sbin/rc lan stop\n"
     "    write  /tmp/lan\n         | off\n    exit   0\npause  1 s\nexit   0\n"},
    // Of the lines with the same text, the one after "accept lo".
    {"  write  /tmp/rules\n"
     "       | accept lo\n"
     "-      | log\n",
     "print  start\nwrite  /tmp/rules\n     | flush\n     | accept lo\n     | drop\n     | log\n"
     "pause  1 s\nrun    /usr/sbin/rc lan stop\n    write  /tmp/lan\n         | off\n"
     "    exit   0\npause  1 s\nexit   0\n"},
    // An entry at the beginning, and one at the end.
    {"+ print  before\n"
     "  exit   0\n"
     "+ print  after\n",
     "print  before\nprint  start\nwrite  /tmp/rules\n     | flush\n     | accept lo\n     | log\n"
     "     | drop\n     | log\npause  1 s\nrun    /usr/sbin/rc lan stop\n    write  /tmp/lan\n"
     "         | off\n    exit   0\npause  1 s\nexit   0\nprint  after\n"},
    // A removed file takes its body with it; lines added after an entry follow its body.
    {"- write  /tmp/rules\n"
     "      write  /tmp/lan\n"
     "+     chmod  0755 /tmp/lan\n",
     "print  start\npause  1 s\nrun    /usr/sbin/rc lan stop\n    write  /tmp/lan\n"
     "         | off\n    chmod  0755 /tmp/lan\n    exit   0\npause  1 s\nexit   0\n"},
    // Adds another file with a body and removes the second pause.
    {"  write  /tmp/rules\n"
     "+ append /tmp/rules\n"
     "+      | more\n"
     "      exit   0\n"
     "- pause  1 s\n",
     "print  start\nwrite  /tmp/rules\n     | flush\n     | accept lo\n     | log\n     | drop\n"
     "     | log\nappend /tmp/rules\n     | more\npause  1 s\nrun    /usr/sbin/rc lan stop\n"
     "    write  /tmp/lan\n         | off\n    exit   0\nexit   0\n"},
    // A line moves down.
    {"  write  /tmp/rules\n"
     "-      | flush\n"
     "       | accept lo\n"
     "+      | flush\n",
     "print  start\nwrite  /tmp/rules\n     | accept lo\n     | flush\n     | log\n     | drop\n"
     "     | log\npause  1 s\nrun    /usr/sbin/rc lan stop\n    write  /tmp/lan\n         | off\n"
     "    exit   0\npause  1 s\nexit   0\n"},
    // Little of a file is left, so it is written as a new one.
    {"- write  /tmp/rules\n"
     "+ write  /tmp/rules\n"
     "+      | drop\n"
     "      write  /tmp/lan\n"
     "-          | off\n"
     "+          x 00\n",
     "print  start\nwrite  /tmp/rules\n     | drop\npause  1 s\nrun    /usr/sbin/rc lan stop\n"
     "    write  /tmp/lan\n         x 00\n    exit   0\npause  1 s\nexit   0\n"},
};

TEST(CaseDifference, ChangesAreApplied) {
    for (const Change& row : changes) {
        const auto result = apply_changes(base, row.changes, 1);
        const auto* error = std::get_if<CaseError>(&result);
        ASSERT_EQ(error, nullptr) << row.changes << error->message;
        EXPECT_EQ(std::get<std::string>(result), row.transcript) << row.changes;
    }
}

TEST(CaseDifference, ChangesAreWrittenAsTheyAreRead) {
    for (const Change& row : changes) EXPECT_EQ(changes_between(base, row.transcript), row.changes);
}

TEST(CaseDifference, WhatIsWrittenReadsBack) {
    // Every way to leave out, repeat or exchange lines of a short transcript with repeated ones.
    const std::vector<std::string> entries = {"run    a\n", "write  /x\n     | 1\n     | 2\n",
                                              "pause  1 s\n"};
    std::vector<std::string> transcripts = {""};
    for (size_t at = 0; at < transcripts.size() && transcripts.size() < SHORT_TRANSCRIPTS; at++)
        for (const std::string& entry : entries) transcripts.push_back(transcripts[at] + entry);
    transcripts.emplace_back("write  /x\n     | 2\n     | 1\n     | 2\nrun    a\n");
    transcripts.emplace_back("write  /x\n     | 2\n     | 2\nwrite  /x\n     | 1\n     | 1\n");
    transcripts.emplace_back("write  /x\nwrite  /x\n     | 3\n");
    for (const std::string& from : transcripts)
        for (const std::string& to : transcripts) {
            const std::string written = changes_between(from, to);
            const auto read = apply_changes(from, written, 1);
            ASSERT_TRUE(std::holds_alternative<std::string>(read))
                << from << "to\n"
                << to << written << std::get<CaseError>(read).message;
            ASSERT_EQ(std::get<std::string>(read), to) << from << written;
        }
}

TEST(CaseDifference, ChangesThatCannotBeAppliedAreNamed) {
    struct Row {
        const char* changes;
        const char* message;
    };
    constexpr const char* no_entry =
        "line 7: a line of a body is changed below its entry, and removed together with it";
    constexpr const char* no_sign =
        "line 7: a change begins with '+ ', '- ' or, for a line that stays, two blanks";
    for (const Row& row : {
             Row{"- run    reboot\n", "line 7: 'run    reboot' is not in the base"},
             Row{"  write  /tmp/rules\n       | deny\n",
                 "line 8: '     | deny' is not in 'write  /tmp/rules' of the base"},
             // Lines of another file do not count.
             Row{"  write  /tmp/rules\n-      | off\n",
                 "line 8: '     | off' is not in 'write  /tmp/rules' of the base"},
             Row{"- pause  1 s\n",
                 "line 7: 'pause  1 s' occurs 2 times in the base; name the lines before it first"},
             Row{"  write  /tmp/rules\n       | log\n",
                 "line 8: '     | log' occurs 2 times in 'write  /tmp/rules' of the base; name the "
                 "lines before it first"},
             Row{"  exit   0\n- print  start\n",
                 "line 8: 'print  start' comes earlier in the base than the change before it"},
             Row{"- print  start\n- print  start\n",
                 "line 8: 'print  start' comes earlier in the base than the change before it"},
             Row{"-      | log\n", no_entry},
             Row{"+      | log\n", no_entry},
             Row{"\n", no_sign},
             Row{"+\n", no_sign},
             Row{"print  start\n", no_sign},
             Row{"# a comment\n", no_sign},
         }) {
        const auto result = apply_changes(base, row.changes, 7);
        ASSERT_TRUE(std::holds_alternative<CaseError>(result)) << row.changes;
        EXPECT_EQ(std::get<CaseError>(result).message, row.message);
    }
    for (const char* below :
         {"- write  /tmp/rules\n-      | log\n", "+ run    a\n-      | log\n"}) {
        const auto result = apply_changes(base, below, 6);
        ASSERT_TRUE(std::holds_alternative<CaseError>(result)) << below;
        EXPECT_EQ(std::get<CaseError>(result).message, no_entry);
    }
}

// A folder of case files.
class CaseFiles : public testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/cases.XXXXXX";
        folder_ = mkdtemp(name);
        put("base.case",
            "# the base\n"
            "# and what it is about\n"
            "command  rc beacon start\n"
            "setting  a=1\n"
            "setting  b=2\n"
            "flash    f=1\n"
            "flash    g=1\n"
            "file  /one\n"
            "     | 1\n"
            "file  /two\n"
            "     | 2\n"
            "output  ps -ax\n"
            "     | init\n"
            "deny  /one w\n"
            "interface  br0 192.168.1.1 1400\n"
            "interface  eth2 10.0.0.1\n"
            "host  a.example 10.0.0.9\n"
            "environment  A=1\n"
            "uptime  5\n"
            "pid  7\n"
            "expect\n"
            "print  a\n"
            "exit   0\n");
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    void put(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories((folder_ / name).parent_path());
        std::ofstream(folder_ / name) << text;
    }
    std::string error_of(const std::string& name, const std::string& text) const {
        put(name, text);
        const auto loaded = load_case(folder_ / name);
        const auto* error = std::get_if<CaseError>(&loaded);
        if (!error) return "";
        // The messages begin with the path.
        std::string message = error->message;
        for (const std::string prefix = folder_.string() + "/";
             message.find(prefix) < message.size();)
            message.erase(message.find(prefix), prefix.size());
        return message;
    }
    Case loaded(const std::string& name, const std::string& text) const {
        EXPECT_EQ(error_of(name, text), "");
        return std::get<Case>(load_case(folder_ / name));
    }

    std::filesystem::path folder_;
};

TEST_F(CaseFiles, EverythingIsInherited) {
    const Case stated = loaded("other.case", "# another\nlike  base.case\nexpect\n");
    EXPECT_EQ(stated.title, "another");
    EXPECT_EQ(stated.words, (std::vector<std::string>{"rc", "beacon", "start"}));
    EXPECT_EQ(stated.settings, (Settings{{"a", "1"}, {"b", "2"}}));
    EXPECT_EQ(stated.flash, (Settings{{"f", "1"}, {"g", "1"}}));
    EXPECT_EQ(*stated.world.get("/one"), "1\n");
    EXPECT_EQ(stated.world.outputs.at("ps -ax"), "init\n");
    EXPECT_TRUE(stated.world.denied.contains({"/one", "w"}));
    EXPECT_EQ(stated.world.interfaces.at("br0").mtu, 1400);
    EXPECT_EQ(stated.world.hosts.at("a.example"), "10.0.0.9");
    EXPECT_EQ(stated.world.environment.at("A"), "1");
    EXPECT_EQ(stated.world.uptime_microseconds, 5'000'000);
    EXPECT_EQ(stated.world.pid, 7);
    EXPECT_EQ(stated.expected, "print  a\nexit   0\n");
    EXPECT_EQ(stated.head, "# another\nlike  base.case\nexpect\n");
}

TEST_F(CaseFiles, ExpectMayEndTheFile) {
    EXPECT_EQ(loaded("x.case", "# t\nlike  base.case\nexpect").expected, "print  a\nexit   0\n");
}

TEST_F(CaseFiles, OwnLinesReplaceInheritedOnes) {
    const Case stated = loaded("deep/other.case",
                               "# another\n"
                               "like  ../base.case\n"
                               "command  rc beacon stop\n"
                               "setting  b=3\n"
                               "setting  c=\n"
                               "file  /one\n"
                               "     | other\n"
                               "output  ps -ax\n"
                               "     | none\n"
                               "interface  br0 -\n"
                               "pid  8\n"
                               "expect\n"
                               "- print  a\n"
                               "+ print  b\n");
    EXPECT_EQ(stated.words, (std::vector<std::string>{"rc", "beacon", "stop"}));
    EXPECT_EQ(stated.settings, (Settings{{"a", "1"}, {"b", "3"}, {"c", ""}}));
    EXPECT_EQ(*stated.world.get("/one"), "other\n");
    EXPECT_EQ(*stated.world.get("/two"), "2\n");
    EXPECT_EQ(stated.world.outputs.at("ps -ax"), "none\n");
    EXPECT_EQ(stated.world.interfaces.at("br0").address, std::nullopt);
    EXPECT_EQ(stated.world.interfaces.at("br0").mtu, 1500);
    EXPECT_EQ(stated.world.pid, 8);
    EXPECT_EQ(stated.expected, "print  b\nexit   0\n");
}

TEST_F(CaseFiles, WithoutLeavesOut) {
    const Case stated = loaded("other.case",
                               "# another\n"
                               "like  base.case\n"
                               "without  setting a\n"
                               "without  flash\n"
                               "without  file /two\n"
                               "without  output ps -ax\n"
                               "without  deny /one w\n"
                               "without  interface eth2\n"
                               "without  host a.example\n"
                               "without  environment A\n"
                               "without  uptime\n"
                               "without  pid\n"
                               "expect\n");
    EXPECT_EQ(stated.settings, (Settings{{"b", "2"}}));
    EXPECT_EQ(stated.flash, std::nullopt);
    EXPECT_NE(stated.world.get("/one"), nullptr);
    EXPECT_EQ(stated.world.get("/two"), nullptr);
    EXPECT_TRUE(stated.world.outputs.empty());
    EXPECT_TRUE(stated.world.denied.empty());
    EXPECT_TRUE(stated.world.interfaces.contains("br0"));
    EXPECT_FALSE(stated.world.interfaces.contains("eth2"));
    EXPECT_TRUE(stated.world.hosts.empty());
    EXPECT_FALSE(stated.world.environment.contains("A"));
    EXPECT_EQ(stated.world.uptime_microseconds, World().uptime_microseconds);
    EXPECT_EQ(stated.world.pid, World().pid);

    const Case powered = loaded(
        "on.case", "# on\nlike  base.case\nwithout  setting\npower-on\nfactory  a=1\nexpect\n");
    EXPECT_TRUE(powered.power_on);
    EXPECT_EQ(powered.factory, (Settings{{"a", "1"}}));
}

TEST_F(CaseFiles, WhatIsWrongIsNamedWithFileAndLine) {
    put("like.case", "# t\nlike  base.case\nexpect\n");
    put("broken.case", "# t\nbogus\nexpect\n");
    struct Row {
        const char* text;
        const char* message;
    };
    for (const Row& row : {
             Row{"# t\nlike  gone.case\nexpect\n",
                 "x.case: line 2: gone.case: No such file or directory"},
             Row{"# t\nlike  .\nexpect\n", "x.case: line 2: .: Is a directory"},
             Row{"# t\n\nlike  like.case\nexpect\n",
                 "x.case: line 3: like.case is itself like another case; only a whole case can be "
                 "a base"},
             Row{"# t\nlike  x.case\nexpect\n",
                 "x.case: line 2: x.case is itself like another case; only a whole case can be a "
                 "base"},
             Row{"# t\nlike  broken.case\nexpect\n",
                 "x.case: line 2: broken.case: line 2: 'bogus' is not a line of a case"},
             Row{"# t\nlike\nexpect\n", "x.case: line 2: like takes a case file"},
             Row{"# t\nlike  base.case\nlike  base.case\nexpect\n",
                 "x.case: line 3: a second 'like'"},
             Row{"like  base.case\nexpect\n", "x.case: there is no title"},
             Row{"# t\nlike  base.case\n", "x.case: there is no line 'expect'"},
             Row{"# t\nlike  base.case\nsetting  c=1\nbogus\nexpect\n",
                 "x.case: line 4: 'bogus' is not a line of a case"},
             Row{"# t\nlike  base.case\nsetting  c=1\nsetting  c=2\nexpect\n",
                 "x.case: line 4: 'c' is set twice"},
             Row{"# t\nlike  base.case\n     | body\nexpect\n",
                 "x.case: line 3: a body line belongs under a file or an output"},
             Row{"# t\nlike  base.case\nwithout  setting c\nexpect\n",
                 "x.case: line 3: base.case has no 'setting c'"},
             Row{"# t\nlike  base.case\nwithout  clock\nexpect\n",
                 "x.case: line 3: base.case has no 'clock'"},
             Row{"# t\nlike  base.case\npower-on\nexpect\n",
                 "x.case: settings are not allowed with power-on: there is no working copy yet"},
             Row{"# t\nlike  base.case\nexpect\n- print  z\n",
                 "x.case: line 4: 'print  z' is not in the base"},
             Row{"# t\ncommand  rc\nwithout  setting a\nexpect\n",
                 "x.case: line 3: 'without' is not a line of a case"},
         })
        EXPECT_EQ(error_of("x.case", row.text), row.message);
    // Two cases that are like each other.
    put("x.case", "# t\nlike  like.case\nexpect\n");
    EXPECT_EQ(error_of("like.case", "# t\nlike  x.case\nexpect\n"),
              "like.case: line 2: x.case is itself like another case; only a whole case can be a "
              "base");
}

TEST_F(CaseFiles, AnExpectationKeepsItsForm) {
    const auto read = [this](const char* name) {
        return std::get<CaseFile>(read_case_file(folder_ / name));
    };
    EXPECT_EQ(expectation(read("base.case"), "print  b\nexit   0\n"), "print  b\nexit   0\n");
    // Changes that no longer fit do not prevent their update.
    put("x.case", "# t\nlike  base.case\nexpect\n- print  z\n");
    const CaseFile stale = read("x.case");
    EXPECT_TRUE(stale.wrong_changes.ends_with("x.case: line 4: 'print  z' is not in the base"));
    EXPECT_EQ(stale.stated.head, "# t\nlike  base.case\nexpect\n");
    EXPECT_EQ(expectation(stale, "print  b\nexit   0\n"), "- print  a\n+ print  b\n");
}

TEST_F(CaseFiles, PrintedWholeACaseStatesTheSame) {
    put("x.case",
        "# t\n# why\nlike  base.case\nwithout  setting b\nwithout  file\nwithout  flash f\n"
        "without  environment\nsetting  a=2\ncommand  rc beacon stop\nexpect\n- print  a\n");
    EXPECT_EQ(std::get<CaseFile>(read_case_file(folder_ / "x.case")).whole,
              "# t\n"
              "# why\n"
              "command  rc beacon stop\n"
              "flash    g=1\n"
              "output  ps -ax\n"
              "     | init\n"
              "deny  /one w\n"
              "interface  br0 192.168.1.1 1400\n"
              "interface  eth2 10.0.0.1\n"
              "host  a.example 10.0.0.9\n"
              "uptime  5\n"
              "pid  7\n"
              "setting  a=2\n"
              "expect\n"
              "exit   0\n");
}

TEST_F(CaseFiles, BelowAFolderAreAllItsCases) {
    put("deep/z.case", "");
    put("a.case", "");
    put("a.txt", "");
    EXPECT_EQ(case_paths(folder_),
              (std::vector<std::string>{folder_ / "a.case", folder_ / "base.case",
                                        folder_ / "deep/z.case"}));
    EXPECT_EQ(case_paths("some/file"), std::vector<std::string>{"some/file"});
}

}  // namespace
