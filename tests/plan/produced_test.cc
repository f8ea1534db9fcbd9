// The files that a run produces, line by line, and the redaction of secrets.

#include <gtest/gtest.h>

#include "plan/trace/produced.h"
#include "plan/trace/redaction.h"

namespace {

// A run made by hand: its transcript, and its files at the end.
struct MadeRun {
    Plan plan;
    Provenance provenance;

    MadeRun() { plan.words = {"rc", "x"}; }

    Transcript& transcript() { return plan.after.transcript; }
    void before(const std::string& path, const std::string& content) {
        plan.before.put(path, content);
        plan.after.world.put(path, content);
    }
    void after(const std::string& path, const std::string& content) {
        plan.after.world.put(path, content);
    }
    void depends(size_t event, size_t line, const char* key, const char* value, bool decides) {
        provenance.add({event, line},
                       {.input = {Input::Kind::Setting, key}, .answer = value, .decides = decides});
    }
};

// "path: text <- event.line event.line | text ...", "~" after a last line without a newline.
std::string shown(const std::vector<FollowedFile>& files) {
    std::string out;
    for (const FollowedFile& file : files) {
        out += file.path + ":";
        for (const FileLine& line : file.lines) {
            out += (&line == &file.lines.front() ? " " : " | ") + line.text + " <-";
            for (const Origin& origin : line.origins)
                out += " " + std::to_string(origin.event) + "." + std::to_string(origin.line);
        }
        out += file.ended ? "\n" : " ~\n";
    }
    return out;
}

TEST(ProducedFiles, LinesKnowWhereTheyWereWritten) {
    MadeRun run;
    run.transcript().add_with_body("write", "/a", "one\ntwo\n");
    run.transcript().add_with_body("append", "/a", "three\n");
    run.transcript().add_with_body("write", "/empty", "");
    run.after("/a", "one\ntwo\nthree\n");
    run.after("/empty", "");
    EXPECT_EQ(shown(produced_lines(run.plan)),
              "/a: one <- 0.1 | two <- 0.2 | three <- 1.1\n"
              "/empty:\n");
}

TEST(ProducedFiles, ALineWrittenInPiecesHasAllOrigins) {
    MadeRun run;
    run.transcript().add_with_body("write", "/a", "on");
    run.transcript().add_with_body("append", "/a", "e\ntw");
    run.transcript().add_with_body("append", "/a", "o");
    run.after("/a", "one\ntwo");
    EXPECT_EQ(shown(produced_lines(run.plan)), "/a: one <- 0.1 1.1 | two <- 1.2 2.1 ~\n");
}

TEST(ProducedFiles, LinesFromBeforeTheRunHaveNoOrigin) {
    MadeRun run;
    run.before("/a", "old\n");
    run.before("/same", "same\n");
    run.transcript().add_with_body("append", "/a", "new\n");
    run.after("/a", "old\nnew\n");
    EXPECT_EQ(shown(produced_lines(run.plan)), "/a: old <- | new <- 0.1\n");
}

TEST(ProducedFiles, ShellLinesMakeLinesAndCopies) {
    MadeRun run;
    run.before("/etc/crontab", "x\n");
    run.transcript().add("run", "echo one >/a");
    run.transcript().add("run", "echo two >>/a");
    run.transcript().add("run", "/bin/cp /a /b");
    run.transcript().add("run", "/bin/cp /etc/crontab /c");
    run.transcript().add("run", "rm /a");
    run.plan.after.world.files.erase("/a");
    run.after("/b", "one\ntwo\n");
    run.after("/c", "x\n");
    EXPECT_EQ(shown(produced_lines(run.plan)),
              "/b: one <- 0.0 | two <- 1.0\n"
              "/c: x <- 3.0\n");
}

TEST(ProducedFiles, ARemovedFileStartsEmpty) {
    MadeRun run;
    run.transcript().add_with_body("write", "/a", "one\n");
    run.transcript().add("remove", "/a");
    run.transcript().add_with_body("append", "/a", "two\n");
    run.after("/a", "two\n");
    EXPECT_EQ(shown(produced_lines(run.plan)), "/a: two <- 2.1\n");
}

TEST(ProducedFiles, StoredSettingsAreLinesOfTheImages) {
    MadeRun run;
    run.before(working_copy, "a=1\nb=2\n");
    run.transcript().add("set", "b=3");
    run.transcript().add("set", "c=4");
    run.transcript().add("commit", "");
    run.after(working_copy, "a=1\nb=3\nc=4\n");
    run.after(flash_image, "a=1\nb=3\nc=4\n");
    EXPECT_EQ(shown(produced_lines(run.plan)),
              "/flash/nvram: a=1 <- | b=3 <- 0.0 | c=4 <- 1.0\n"
              "/tmp/nvram: a=1 <- | b=3 <- 0.0 | c=4 <- 1.0\n");
}

// The content is correct even if the origins of the lines are unknown.
TEST(ProducedFiles, LinesThatWereNotFollowedHaveNoOrigin) {
    MadeRun run;
    run.transcript().add_with_body("write", "/a", "one\n");
    run.after("/a", "other\n");
    EXPECT_EQ(shown(produced_lines(run.plan)), "/a: other <-\n");
}

TEST(Redaction, ASecretIsHiddenInDependentLines) {
    MadeRun run;
    run.transcript().add_with_body("write", "/etc/htpasswd", "admin:s3cret\nuser:s3cret\n");
    run.depends(0, 1, "http_password", "s3cret", false);
    run.after("/etc/htpasswd", "admin:s3cret\nuser:s3cret\n");
    const Redaction redaction(run.plan, run.provenance);
    EXPECT_EQ(redaction.line({0, 1}, "admin:s3cret"), "admin:********");
    // The same word by chance.
    EXPECT_EQ(redaction.line({0, 2}, "user:s3cret"), "user:s3cret");
    const FollowedFile file = produced_lines(run.plan).at(0);
    EXPECT_EQ(redaction.line(file, file.lines[0]), "admin:********");
    EXPECT_TRUE(redaction.in_body(0));
}

TEST(Redaction, TheWholeLineIsHiddenForASecretInAnotherForm) {
    MadeRun run;
    run.transcript().add("run", "pppd password \"o\\'clock\"");
    run.transcript().add("run", "length 7");
    run.depends(0, 0, "pppoe_password", "o'clock", false);
    run.depends(1, 0, "pppoe_password", "o'clock", true);
    const Redaction redaction(run.plan, run.provenance);
    EXPECT_EQ(redaction.line({0, 0}, "pppd password \"o\\'clock\""), "********");
    // The secret only decides whether the line exists.
    EXPECT_EQ(redaction.line({1, 0}, "length 7"), "length 7");
    EXPECT_FALSE(redaction.in_body(0));
}

TEST(Redaction, OfTwoSecretsTheLongerIsHiddenFirst) {
    MadeRun run;
    run.transcript().add("run", "x");
    run.depends(0, 0, "http_password", "abc", false);
    run.depends(0, 0, "mail_password", "abcdef", false);
    const Redaction redaction(run.plan, run.provenance);
    EXPECT_EQ(redaction.line({0, 0}, "abc abcdef"), "******** ********");
}

TEST(Redaction, OtherSettingsAreNotHidden) {
    MadeRun run;
    run.transcript().add("run", "route br0");
    run.depends(0, 0, "lan_if", "br0", false);
    const Redaction redaction(run.plan, run.provenance);
    EXPECT_EQ(redaction.line({0, 0}, "route br0"), "route br0");
    EXPECT_EQ(redaction.answer({.input = {Input::Kind::Setting, "lan_if"}, .answer = "br0"}),
              "br0");
    EXPECT_EQ(
        redaction.answer({.input = {Input::Kind::Setting, "wifi_psk_pwd1"}, .answer = "12345678"}),
        "********");
    // An empty secret is shown as empty.
    EXPECT_EQ(redaction.answer({.input = {Input::Kind::Setting, "wifi_psk_pwd1"}, .answer = ""}),
              "");
}

// The transcript keeps its lines' places, so that reasons and differences still point to them.
TEST(Redaction, TheWholeTranscript) {
    MadeRun run;
    run.before(working_copy, "http_password=s3cret\nlan_if=br0\n");
    run.plan.after.inputs = {{Input::Kind::Setting, "http_password"},
                             {Input::Kind::Setting, "lan_if"}};
    run.transcript().print("hello s3cret\nbye");
    run.transcript().add_with_body("write", "/etc/s3cret", "admin:s3cret\nbr0");
    run.transcript().add_with_body("write", "/etc/bytes", std::string("\0s3cret12", 9));
    run.transcript().depth = 1;
    run.transcript().add("run", "s3cret");
    run.depends(0, 1, "http_password", "s3cret", false);
    run.depends(1, 0, "http_password", "s3cret", false);
    run.depends(1, 1, "http_password", "s3cret", false);
    run.depends(2, 1, "http_password", "s3cret", false);
    run.depends(1, 2, "lan_if", "br0", false);
    run.provenance.add({3, 0},
                       {.input = {Input::Kind::File, "/etc/s3cret"}, .answer = "is s3cret"});
    const Redaction redaction(run.plan, run.provenance);
    const Transcript shown = redaction.transcript();
    // The last command does not depend on the setting: the same word by chance.
    EXPECT_EQ(shown.text(),
              "print  hello ********\n"
              "begin  bye\n"
              "write  /etc/********\n"
              "     | admin:********\n"
              "     \\ br0\n"
              "write  /etc/bytes\n"
              "     | ********\n"
              "     | ********\n"
              "    run    s3cret\n");
    ASSERT_EQ(shown.events().size(), run.transcript().events().size());
    for (size_t i = 0; i < shown.events().size(); i++)
        EXPECT_EQ(event_lines(shown.events()[i]).size(),
                  event_lines(run.transcript().events()[i]).size());
    EXPECT_EQ(redaction.path("/etc/s3cret"), "/etc/********");
    EXPECT_EQ(redaction.path("/etc/bytes"), "/etc/bytes");

    const Provenance masked = redaction.provenance(run.provenance);
    EXPECT_EQ(masked.of({1, 1}).at(0).text(), "http_password=********");
    EXPECT_EQ(masked.of({1, 2}).at(0).text(), "lan_if=br0");
    EXPECT_EQ(masked.of({3, 0}).at(0).text(), "file /etc/******** holds is ********");
}

TEST(Redaction, StoredSecretsAreHiddenInEveryLine) {
    MadeRun run;
    run.before(working_copy, "http_password=old\n");
    run.transcript().add("run", "echo 12345670");
    run.transcript().add("set", "wsc_device_pin=12345670");
    run.transcript().add("run", "echo 12345670 >/var/wps_pin");
    run.transcript().add("set", "http_password=x");
    // Another program saved this one meanwhile.
    run.transcript().add("change", "mail_password=tRuStNo1");
    run.after(working_copy, "http_password=x\nlan_if=br0\nwsc_device_pin=12345670\n");
    const Redaction redaction(run.plan, run.provenance);
    EXPECT_EQ(redaction.line({0, 0}, "echo 12345670"), "echo ********");
    EXPECT_EQ(redaction.line({1, 0}, "wsc_device_pin=12345670"), "wsc_device_pin=********");
    EXPECT_EQ(redaction.line({2, 0}, "echo 12345670 >/var/wps_pin"), "echo ******** >/var/wps_pin");
    EXPECT_EQ(redaction.line({3, 0}, "http_password=x"), "http_password=********");
    EXPECT_EQ(redaction.line({4, 0}, "mail_password=tRuStNo1"), "mail_password=********");

    const std::vector<FollowedFile> files = produced_lines(run.plan);
    ASSERT_EQ(files.size(), 1U);
    std::string image;
    for (const FileLine& line : files[0].lines) image += redaction.line(files[0], line) + "\n";
    EXPECT_EQ(image, "http_password=********\nlan_if=br0\nwsc_device_pin=********\n");
}

}  // namespace
