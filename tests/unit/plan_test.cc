// Parts of the planner: escapes, case files, shell lines with effects, nested runs.

#include <gtest/gtest.h>

#include "core/command.h"
#include "plan/router/case.h"
#include "plan/router/recording.h"
#include "plan/router/shell_effects.h"

namespace {

TEST(Escapes, RoundTrip) {
    struct Row {
        std::string text;
        const char* escaped;
    };
    for (const Row& row : {
             Row{"plain text", "plain text"},
             Row{"back\\slash", "back\\\\slash"},
             Row{"a\tb", "a\\tb"},
             Row{"a\nb", "a\\nb"},
             Row{"end ", "end\\s"},
             Row{" ", "\\s"},
             Row{"two  ", "two \\s"},
             Row{"\x01\x7f\xc3\xa9", "\\x01\\x7f\\xc3\\xa9"},
             Row{std::string(1, '\0'), "\\x00"},
         }) {
        EXPECT_EQ(escape_line(row.text), row.escaped);
        EXPECT_EQ(unescape_line(row.escaped), row.text);
    }
    EXPECT_EQ(unescape_line("\\q \\x0 \\"), "\\q \\x0 \\");
}

TEST(Transcripts, BodiesAndPartialLines) {
    Transcript transcript;
    transcript.print("begun ");
    transcript.add("run", "true");
    transcript.print("a\n");
    transcript.print("\nb\n");
    transcript.add_with_body("write", "/empty", "");
    transcript.add_with_body("write", "/text", "one\n\nlast");
    transcript.depth = 1;
    transcript.add_with_body("write", "/bytes", std::string("\0\1\2\3\4\5\6\7\xff", 9));
    EXPECT_EQ(transcript.text(),
              "begin  begun\\s\n"
              "run    true\n"
              "print  a\n"
              "print\n"
              "print  b\n"
              "write  /empty\n"
              "write  /text\n"
              "     | one\n"
              "     |\n"
              "     \\ last\n"
              "    write  /bytes\n"
              "         x 00 01 02 03 04 05 06 07\n"
              "         x ff\n");
}

TEST(Cases, EveryLineKind) {
    const auto parsed = parse_case(
        "# title: of the case\n"
        "# a comment\n"
        "\n"
        "command  rc \"\" start\n"
        "setting  list=a\\x01b\n"
        "flash    k=f\n"
        "factory  k=d\n"
        "file  /etc/text\n"
        "     | one\\t\n"
        "     |\n"
        "     \\ end\n"
        "file  /dev/bytes\n"
        "     z 0x3\n"
        "     x 0a ff\n"
        "deny  /etc/text w\n"
        "output  /bin/ps -ax\n"
        "     | 1 init\n"
        "uptime 5\n"
        "pid 77\n"
        "environment  PATH=/bin\n"
        "interface  br0 192.168.1.1\n"
        "interface  eth2.2 -\n"
        "expect\n"
        "exit   0\n");
    ASSERT_TRUE(std::holds_alternative<Case>(parsed)) << std::get<CaseError>(parsed).message;
    const Case& stated = std::get<Case>(parsed);
    EXPECT_EQ(stated.title, "title: of the case");
    EXPECT_EQ(stated.words, (std::vector<std::string>{"rc", "", "start"}));
    EXPECT_EQ(stated.expected, "exit   0\n");
    EXPECT_TRUE(stated.head.ends_with("\nexpect\n"));

    const World world = case_world(stated);
    EXPECT_EQ(*world.get("/tmp/nvram"), "list=a\\x01b\n");
    EXPECT_EQ(*world.get("/flash/nvram"), "k=f\n");
    EXPECT_EQ(*world.get("/etc/default"), "k=d\n");
    EXPECT_EQ(*world.get("/etc/text"), "one\t\n\nend");
    EXPECT_EQ(*world.get("/dev/bytes"), std::string("\0\0\0\n\xff", 5));
    EXPECT_TRUE(world.denied.contains({"/etc/text", "w"}));
    EXPECT_EQ(world.outputs.at("/bin/ps -ax"), "1 init\n");
    EXPECT_EQ(world.uptime_microseconds, 5'000'000);
    EXPECT_EQ(world.pid, 77);
    EXPECT_EQ(world.environment.at("PATH"), "/bin");
    EXPECT_EQ(world.interfaces.at("br0").address, "192.168.1.1");
    EXPECT_EQ(world.interfaces.at("eth2.2").address, std::nullopt);
}

TEST(Cases, ErrorsAreNamed) {
    struct Row {
        const char* text;
        const char* message;
    };
    for (const Row& row : {
             Row{"", "there is no line 'expect'"},
             Row{"# t\nexpect\n", "there is no command"},
             Row{"command rc\nexpect\n", "there is no title"},
             Row{"# t\nbogus x\n", "line 2: 'bogus' is not a line of a case"},
             Row{"# t\nsetting novalue\n", "line 2: a setting is written KEY=VALUE"},
             Row{"# t\nsetting a=1\nsetting a=2\n", "line 3: 'a' is set twice"},
             Row{"# t\n     | x\n", "line 2: a body line belongs under a file or an output"},
             Row{"# t\nfile /x\n     x 0g\n",
                 "line 3: '0g' is not a byte; expected two hexadecimal digits"},
             Row{"# t\nfile /x\n     z 0\n", "line 3: a 'z' line takes a number of zero bytes"},
             Row{"# t\ninterface a - 67\n", "line 2: no interface has an MTU below 68"},
             Row{"# t\nuptime 4294967296\n",
                 "line 2: uptime takes whole seconds, at most 4294967295"},
             Row{"# t\nuptime 99999999999999999999\n",
                 "line 2: uptime takes whole seconds, at most 4294967295"},
             Row{"# t\nuptime -1\n", "line 2: uptime takes whole seconds, at most 4294967295"},
             Row{"# t\nuptime soon\n", "line 2: uptime takes whole seconds, at most 4294967295"},
             Row{"# t\npid 2147483647\n", "line 2: pid takes a number from 1 to 4194304"},
             Row{"# t\npid 0\n", "line 2: pid takes a number from 1 to 4194304"},
             Row{"# t\ndeny /x\n", "line 2: deny takes a path and a mode"},
             Row{"# t\ncommand rc\npower-on\nsetting a=1\nexpect\n",
                 "settings are not allowed with power-on: there is no working copy yet"},
         }) {
        const auto parsed = parse_case(row.text);
        ASSERT_TRUE(std::holds_alternative<CaseError>(parsed)) << row.text;
        EXPECT_EQ(std::get<CaseError>(parsed).message, row.message);
    }
}

TEST(Cases, DifferencesAreMarked) {
    EXPECT_EQ(transcript_difference("a\nb\n", "a\nb\n"), "");
    EXPECT_EQ(transcript_difference("a\nb\nc\n", "a\nc\nd\n"), "  a\n- b\n  c\n+ d\n");
    EXPECT_NE(transcript_difference("a\nb\n", "b\na\n"), "");
    EXPECT_NE(transcript_difference("a\n", "a"), "");
    EXPECT_NE(transcript_difference("", "a\n"), "");
}

TEST(ShellEffects, PlainLinesChangeFiles) {
    World world;
    world.put("/a", "A\n");
    apply_file_effects(world, "echo one two >/x");
    EXPECT_EQ(*world.get("/x"), "one two\n");
    apply_file_effects(world, "/bin/echo \"nameserver 10.0.0.1\" >> /x");
    EXPECT_EQ(*world.get("/x"), "one two\nnameserver 10.0.0.1\n");
    apply_file_effects(world, "/bin/busybox cp /a /x");
    EXPECT_EQ(*world.get("/x"), "A\n");
    apply_file_effects(world, "cp /missing /x");
    EXPECT_EQ(*world.get("/x"), "A\n");
    apply_file_effects(world, "/sbin/route -n > /x&");
    EXPECT_EQ(*world.get("/x"), "");
    world.outputs["/sbin/route -n"] = "table\n";
    apply_file_effects(world, "/sbin/route -n >> /x 2>&1");
    EXPECT_EQ(*world.get("/x"), "table\n");
    // A number directly before ">" is a descriptor; the output to descriptor 2 is not stated.
    apply_file_effects(world, "echo domain 2>>/x");
    EXPECT_EQ(*world.get("/x"), "table\n");
    apply_file_effects(world, "echo one 1>/x 2>/y");
    EXPECT_EQ(*world.get("/x"), "one\n");
    EXPECT_EQ(*world.get("/y"), "");
    // The text after "&" is a separate command.
    apply_file_effects(world, "echo two & >/y");
    EXPECT_EQ(*world.get("/y"), "");
    apply_file_effects(world, "echo two >/y & ");
    EXPECT_EQ(*world.get("/y"), "two\n");
    apply_file_effects(world, "/bin/rm -f /x /a");
    EXPECT_EQ(world.get("/x"), nullptr);
    EXPECT_EQ(world.get("/a"), nullptr);
}

TEST(ShellEffects, LinesWithExpansionsAreOnlyRecorded) {
    World world;
    for (const char* line : {
             "echo -n a >/x",
             "echo $(reboot) >/x",
             "echo `id` >/x",
             "echo a; echo b >/x",
             "echo a | tee /x",
             "echo \"unclosed >/x",
             "echo a* >/x",
             "echo a\\nb >/x",
             "echo a && echo b >/x",
             "",
             "   ",
             ">",
             "ifconfig lo up >/dev/null 2>&1",
         })
        apply_file_effects(world, line);
    EXPECT_TRUE(world.files.empty());
    apply_file_effects(world, ("echo a >/" + std::string(256, 'n')));
    EXPECT_TRUE(world.files.empty());
}

TEST(NestedRuns, WordsOfTheLine) {
    using Words = std::vector<std::string>;
    EXPECT_EQ(nested_words("/usr/sbin/rc service stop"),
              (Words{"/usr/sbin/rc", "service", "stop"}));
    EXPECT_EQ(nested_words("/usr/sbin/rc service restart & >/dev/null 2>&1"),
              (Words{"/usr/sbin/rc", "service", "restart"}));
    EXPECT_EQ(nested_words("/usr/sbin/rc dhcpd create >/dev/null&"),
              (Words{"/usr/sbin/rc", "dhcpd", "create"}));
    EXPECT_EQ(nested_words("/usr/sbin/rcx"), Words{});
    EXPECT_EQ(nested_words("killall rc"), Words{});
}

TEST(NestedRuns, AreIndentedAndHaveTheNextPid) {
    Recording played;
    const Playing playing(played);
    played.world.put(working_copy, "");
    SYSTEM("/usr/sbin/rc service");
    EXPECT_EQ(played.transcript.text(),
              "run    /usr/sbin/rc service\n"
              "    write  /var/run/my_pid_service\n"
              "         \\ 1001\n"
              "    print\n"
              "    print  Usage: rc [wan|service|ap name] [start|stop|restart|create]\n"
              "    print\n"
              "    exit   0\n");
    EXPECT_EQ(played.world.pid, 1000);
}

}  // namespace
