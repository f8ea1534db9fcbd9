// The nvram command: every verb, its output, its messages and its status.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>

#include "command_kit.h"
#include "libnvram/generation.h"

namespace {

const std::string no_copy = "/tmp/nvram: no working copy; run 'nvram load' first";

TEST_F(Nvram, Gets) {
    folder.write("tmp/nvram", "a=one\nempty=\nlist=x\\x01y\\\\\npppoe_password=secret\n");
    EXPECT_EQ(run("get a"), done("one\n"));
    EXPECT_EQ(run("get empty"), done("\n"));
    EXPECT_EQ(run("get list"), done("x\x01y\\\n"));
    EXPECT_EQ(run("get pppoe_password"), done("secret\n"));
    EXPECT_EQ(run("get b"), no());
    EXPECT_EQ(run("get \"a b\""),
              error("get: 'a b' is not a valid key; use 1 to 127 of A-Z a-z 0-9 _ - ."));
    EXPECT_EQ(run("get"), error("get: missing argument (try 'nvram --help')"));
    EXPECT_EQ(run("get a b"), error("get: too many arguments (try 'nvram --help')"));
}

TEST_F(Nvram, Sets) {
    folder.write("tmp/nvram", "a=one\n");
    EXPECT_EQ(run("set a=two"), done());
    EXPECT_EQ(run("set b= c=x=y d=\"$(printf \"p\\\\001q\")\""), done());
    EXPECT_EQ(working(), "a=two\nb=\nc=x=y\nd=p\\x01q\n");
    EXPECT_EQ(run("set -- --odd=1"), done());
    EXPECT_EQ(run("get -- --odd"), done("1\n"));
    EXPECT_EQ(run("unset -- --odd"), done());

    EXPECT_EQ(run("set"), error("set: missing argument (try 'nvram --help')"));
    EXPECT_EQ(run("set a=three b"), error("set: 'b' is not KEY=VALUE"));
    EXPECT_EQ(run("set a=three =1"),
              error("set: '' is not a valid key; use 1 to 127 of A-Z a-z 0-9 _ - ."));
    EXPECT_EQ(run("set a=three \"b c=1\""),
              error("set: 'b c' is not a valid key; use 1 to 127 of A-Z a-z 0-9 _ - ."));
    EXPECT_EQ(run("set lan_x=$(head -c 70000 /dev/zero | tr \"\\\\0\" v)"),
              error("set: lan_x: value has 70000 bytes; the limit is 65536"));
    EXPECT_EQ(working(), "a=two\nb=\nc=x=y\nd=p\\x01q\n");
}

TEST_F(Nvram, RefusesAnImageThatIsTooLarge) {
    std::string image;
    for (int i = 10; i < 26; ++i)
        image += "k" + std::to_string(i) + "=" + std::string(65000, 'v') + "\n";
    folder.write("tmp/nvram", image);
    EXPECT_EQ(
        run("set more=$(head -c 60000 /dev/zero | tr \"\\\\0\" v)"),
        error(
            "set: /tmp/nvram: larger than the limit of 1048576 bytes; unset settings you do not need"));
    EXPECT_EQ(working(), image);
}

TEST_F(Nvram, ReadsNoImageThatIsTooLarge) {
    folder.write("tmp/nvram", "a=1\n" + std::string(1048573, '#'));
    EXPECT_EQ(
        run("get a"),
        error(
            "get: /tmp/nvram: larger than the limit of 1048576 bytes; unset settings you do not need"));
    folder.write("tmp/nvram", "a=1\n" + std::string(1048572, '#'));
    EXPECT_EQ(run("get a"), done("1\n"));
}

TEST_F(Nvram, Unsets) {
    folder.write("tmp/nvram", "a=1\nb=2\nc=3\n");
    EXPECT_EQ(run("unset a c"), done());
    EXPECT_EQ(run("unset a"), done());
    EXPECT_EQ(working(), "b=2\n");
    EXPECT_EQ(run("unset b \"\""),
              error("unset: '' is not a valid key; use 1 to 127 of A-Z a-z 0-9 _ - ."));
    EXPECT_EQ(run("unset"), error("unset: missing argument (try 'nvram --help')"));
    EXPECT_EQ(working(), "b=2\n");
}

TEST_F(Nvram, ShowsWithoutSecrets) {
    folder.write(
        "tmp/nvram",
        "b=x\\x01y\nhttp_password=secret\nmail_password=\nlan_ipaddr=1\nlan_netmask=2\na=\n");
    EXPECT_EQ(
        run("show"),
        done(
            "a=\nb=x\\x01y\nhttp_password=********\nlan_ipaddr=1\nlan_netmask=2\nmail_password=\n"));
    EXPECT_EQ(run("show http_"), done("http_password=********\n"));
    EXPECT_EQ(run("show --show-secrets http_"), done("http_password=secret\n"));
    EXPECT_EQ(run("--show-secrets show http_"), done("http_password=secret\n"));
    EXPECT_EQ(run("show lan_"), done("lan_ipaddr=1\nlan_netmask=2\n"));
    EXPECT_EQ(run("show wan_"), no());
    EXPECT_EQ(run("show a b"), error("show: too many arguments (try 'nvram --help')"));
    folder.write("tmp/nvram", "");
    EXPECT_EQ(run("show"), done());
}

TEST_F(Nvram, NamesTheCureWhenThereIsNoWorkingCopy) {
    for (const char* words : {"get a", "set a=1", "unset a", "show", "commit", "export -"}) {
        const std::string line = words;
        EXPECT_EQ(run(line), error(line.substr(0, line.find(' ')) + ": " + no_copy));
    }
    folder.write("settings", "a=1\n");
    EXPECT_EQ(run("import " + (folder / "settings")), error("import: " + no_copy));
    EXPECT_EQ(run("import --replace " + (folder / "settings")), error("import: " + no_copy));
    EXPECT_EQ(working(), "(none)");
}

TEST_F(Nvram, LoadsAndCommits) {
    EXPECT_EQ(run("load"), error("load: /etc/default: No such file or directory"));
    folder.write("etc/default", "a=factory\n");
    EXPECT_EQ(run("load"), done());
    EXPECT_EQ(working(), "a=factory\n");
    EXPECT_EQ(run("set a=mine"), done());
    EXPECT_EQ(run("commit"), done());
    EXPECT_EQ(folder.read("flash/nvram.a"), nvram::encode({.number = 1, .image = "a=mine\n"}));
    EXPECT_EQ(run("set a=forgotten"), done());
    EXPECT_EQ(run("load"), done());
    EXPECT_EQ(working(), "a=mine\n");

    folder.write("flash/nvram.a", "damaged");
    EXPECT_EQ(
        run("load"),
        error(
            "load: /flash/nvram.a, /flash/nvram.b: both damaged; run 'nvram default' to restore the factory settings"));
    EXPECT_EQ(run("default"), done());
    EXPECT_EQ(working(), "a=factory\n");
    EXPECT_EQ(folder.read("flash/nvram.a"), nvram::encode({.number = 1, .image = "a=factory\n"}));
    for (const char* verb : {"load", "commit", "default"})
        EXPECT_EQ(run(verb + std::string(" x")),
                  error(std::string(verb) + ": too many arguments (try 'nvram --help')"));
}

// The boot runs this when its load fails, so it must not overwrite what could not be read.
TEST_F(Nvram, DefaultAfterAFailedLoadKeepsTheSettingsInFlash) {
    const std::string message =
        "nvram: default: there was no working copy, so a load has failed: the working copy has the\n"
        "factory settings until the next boot or 'nvram load'; the settings in flash are unchanged\n"
        "(run 'nvram default' again to replace them too)\n";
    folder.write("etc/default", "a=factory\n");
    folder.write("tmp/nvram", "a=mine\n");
    EXPECT_EQ(run("commit"), done());
    std::filesystem::remove(folder / "tmp/nvram");
    EXPECT_EQ(run("default"), (Result{0, "", message}));
    EXPECT_EQ(working(), "a=factory\n");
    EXPECT_EQ(run("diff @flash @working"), no("- a=mine\n+ a=factory\n"));
    EXPECT_EQ(run("load"), done());
    EXPECT_EQ(working(), "a=mine\n");

    // A generation that cannot be read may be whole.
    std::filesystem::remove(folder / "tmp/nvram");
    std::filesystem::remove(folder / "flash/nvram.a");
    std::filesystem::create_directory(folder / "flash/nvram.a");
    EXPECT_EQ(run("load"), error("load: /flash/nvram.a: not a regular file; remove it"));
    EXPECT_EQ(run("default"), (Result{0, "", message}));
    EXPECT_EQ(folder.read("flash/nvram.b"), "(none)");

    // With a working copy it is the user who asks.
    EXPECT_EQ(run("default"), error("default: /flash/nvram.a: not a regular file; remove it"));
    std::filesystem::remove(folder / "flash/nvram.a");
    EXPECT_EQ(run("default"), done());
    EXPECT_EQ(run("diff @flash @factory"), done());
}

TEST_F(Nvram, CommitsNoEmptyWorkingCopy) {
    folder.write("tmp/nvram", "a=1\n");
    EXPECT_EQ(run("commit"), done());
    folder.write("tmp/nvram", "");
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(run("commit"),
                  error("commit: /tmp/nvram: has no settings; nothing was changed; 'nvram load' "
                        "restores the committed settings"));
    EXPECT_EQ(run("load"), done());
    EXPECT_EQ(working(), "a=1\n");
}

TEST_F(Nvram, NamesTheLinesThatItCannotRead) {
    const std::string text = "a=1\nnonsense\nb c=1\n";
    folder.write("tmp/nvram", text);
    for (const std::string words : {"commit", "set a=2", "unset a"}) {
        const std::string verb = "nvram: " + words.substr(0, words.find(' ')) + ": /tmp/nvram: ";
        EXPECT_EQ(
            run(words),
            (Result{
                2, "",
                verb + "line 2 is not KEY=VALUE\n" + verb +
                    "line 3 has an invalid key; use 1 to 127 of A-Z a-z 0-9 _ - .\n" + verb +
                    "nothing was changed; 'nvram load' restores the committed settings, or correct "
                    "the lines\n"}));
        EXPECT_EQ(working(), text);
    }
    EXPECT_EQ(run("get a"), done("1\n"));
    folder.write("settings", "a=2\n");
    EXPECT_EQ(run("import --replace " + (folder / "settings")), done());
    EXPECT_EQ(run("commit"), done());
}

TEST_F(Nvram, NamesWhatIsNoFile) {
    folder.write("etc/default", "a=1\n");
    const auto refused = [&](const std::string& words, const std::string& path) {
        const std::string verb = words.substr(0, words.find(' '));
        return run(words) == error(verb + ": " + path + ": not a regular file; remove it");
    };
    for (const bool fifo : {true, false}) {
        const auto put = [&](const std::string& name) {
            std::filesystem::remove_all(folder / name);
            const std::string path = folder / name;
            ASSERT_EQ(fifo ? mkfifo(path.c_str(), 0600) : mkdir(path.c_str(), 0700), 0);
        };
        put("tmp/nvram");
        for (const char* words : {"get a", "set a=1", "show", "commit", "load", "default"})
            EXPECT_TRUE(refused(words, "/tmp/nvram")) << words;
        std::filesystem::remove(folder / "tmp/nvram");
        put("tmp/nvram.lock");
        EXPECT_TRUE(refused("load", "/tmp/nvram.lock"));
        std::filesystem::remove(folder / "tmp/nvram.lock");
        put("etc/default");
        EXPECT_TRUE(refused("load", "/etc/default"));
        EXPECT_TRUE(refused("diff @factory @factory", "/etc/default"));
    }
}

TEST_F(Nvram, EscapesWhatCouldControlTheTerminal) {
    folder.write("tmp/nvram",
                 "a=caf\xc3\xa9 \x9b"
                 "2J\nb=\xc2\x9b\xff\n");
    folder.write("other", "a=\xe2\x80\xae\nb=\xc2\x9b\xff\n");
    EXPECT_EQ(run("show"), done("a=caf\xc3\xa9 \\x9b2J\nb=\\xc2\\x9b\\xff\n"));
    EXPECT_EQ(run("diff @working " + (folder / "other")),
              no("- a=caf\xc3\xa9 \\x9b2J\n+ a=\\xe2\\x80\\xae\n"));
    EXPECT_EQ(run("get $(printf \"\\033[2J\")"),
              error("get: '\\x1b[2J' is not a valid key; use 1 to 127 of A-Z a-z 0-9 _ - ."));
    EXPECT_EQ(run("$(printf \"\\233\")"), error("\\x9b: unknown verb (try 'nvram --help')"));
    // What show prints reads as what was shown; files and values keep their bytes.
    EXPECT_EQ(run("get b"), done("\xc2\x9b\xff\n"));
    EXPECT_EQ(run("show >" + (folder / "shown") + "; true"), done());
    EXPECT_EQ(run("diff @working " + (folder / "shown")), done());
}

TEST_F(Nvram, WorksWithoutStandardDescriptors) {
    folder.write("tmp/nvram", "a=1\n");
    folder.write("output", "");
    EXPECT_EQ(run("show", "&-"), done());
    EXPECT_EQ(run("set a=2 <&-", "&-"), done());
    EXPECT_EQ(working(), "a=2\n");
    EXPECT_EQ(run("import - <&-", "&-"), done());
    EXPECT_EQ(working(), "a=2\n");
}

TEST_F(Nvram, SaysWhyACommitFails) {
    folder.write("tmp/nvram", "a=1\n");
    folder.write("flash", "a file, not a folder");
    EXPECT_EQ(run("commit"), error("commit: /flash/nvram.a: Not a directory"));
    EXPECT_EQ(run("default"), error("default: /etc/default: No such file or directory"));
}

TEST_F(Nvram, Exports) {
    const std::string settings = "a=1\nhttp_password=secret\nlist=x\\x01y\n";
    folder.write("tmp/nvram", settings);
    EXPECT_EQ(run("export -"), done(settings));
    folder.write("saved", "older");
    EXPECT_EQ(run("export " + (folder / "saved")), done());
    EXPECT_EQ(folder.read("saved"), settings);
    struct stat status;
    ASSERT_EQ(stat((folder / "saved").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    EXPECT_EQ(run("export " + (folder / "no/such")),
              error("export: /no/such: No such file or directory"));
    EXPECT_EQ(run("export"), error("export: missing argument (try 'nvram --help')"));
}

TEST_F(Nvram, ExportsIntoDevicesAndPipes) {
    const std::string settings = "a=1\nlist=x\\x01y\n";
    folder.write("tmp/nvram", settings);
    EXPECT_EQ(run("export /dev/stdout"), done(settings));
    EXPECT_EQ(run("export /dev/stdout | cat"), done(settings));
    EXPECT_EQ(run("export /dev/null"), done());
    EXPECT_EQ(run("export /dev/full"), error("export: /dev/full: No space left on device"));
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    const std::string read = "cat " + (folder / "fifo") + " >" + (folder / "read") + " & ";
    EXPECT_EQ(std::system((read + NVRAM_COMMAND + " --root " + folder.path() + " export " +
                           (folder / "fifo") + "; wait")
                              .c_str()),
              0);
    EXPECT_EQ(folder.read("read"), settings);
    EXPECT_TRUE(std::filesystem::is_fifo(folder / "fifo"));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    EXPECT_EQ(run("export " + (folder / "tmp")), error("export: /tmp: Is a directory"));

    // What is behind standard output stays.
    folder.write("log", "before\n");
    EXPECT_EQ(run("export /dev/stdout >>" + (folder / "log") + "; true"), done());
    EXPECT_EQ(folder.read("log"), "before\n" + settings);
}

TEST_F(Nvram, ImportsFromAnEditorThatMarksFilesAndLines) {
    folder.write("tmp/nvram", "a=1\n");
    const std::string mark = "\xef\xbb\xbf";
    const std::string files[] = {
        mark + "a=2\r\nb=x\\x0d\r\n",
        "a=2\r\r\nb=x\\x0d\r\n",
        "# first\r\n\r\na=2\nb=x\\x0d\r",
    };
    for (const std::string& file : files) {
        folder.write("tmp/nvram", "a=1\n");
        folder.write("settings", file);
        EXPECT_EQ(run("import " + (folder / "settings")), done());
        // A value's own CR is escaped in a file.
        EXPECT_EQ(working(), "a=2\nb=x\\x0d\n");
    }
}

TEST_F(Nvram, ReadsPipesThatAreNamed) {
    folder.write("tmp/nvram", "a=1\n");
    EXPECT_EQ(run("import <(echo a=2)"), done());
    EXPECT_EQ(run("diff @working <(echo a=3)"), no("- a=2\n+ a=3\n"));
    EXPECT_EQ(run("diff @working - <<<a=3"), no("- a=2\n+ a=3\n"));
    EXPECT_EQ(run("diff - - <<<a=3"), error("diff: standard input can be only one of the two"));
}

TEST_F(Nvram, Imports) {
    folder.write("tmp/nvram", "a=1\nb=2\n");
    folder.write("settings", "# mine\n\nb=3\nc=x\\x01y");
    EXPECT_EQ(run("import " + (folder / "settings")), done());
    EXPECT_EQ(working(), "a=1\nb=3\nc=x\\x01y\n");
    EXPECT_EQ(run("import --replace " + (folder / "settings")), done());
    EXPECT_EQ(working(), "b=3\nc=x\\x01y\n");
    EXPECT_EQ(run("import - <" + (folder / "settings")), done());
    EXPECT_EQ(run("export - | cat"), done("b=3\nc=x\\x01y\n"));
}

TEST_F(Nvram, ImportsNothingOfABadFile) {
    folder.write("tmp/nvram", "a=1\n");
    folder.write("settings", "a=2\nnonsense\nb c=1\nd=4\nbig=" + std::string(65537, 'v') + "\n");
    const Result expected = {
        2, "",
        "nvram: import: /settings: line 2 is not KEY=VALUE\n"
        "nvram: import: /settings: line 3 has an invalid key; use 1 to 127 of A-Z a-z 0-9 _ - .\n"
        "nvram: import: /settings: line 5 has a value longer than 65536 bytes\n"
        "nvram: import: /settings: no setting was changed\n"};
    EXPECT_EQ(run("import " + (folder / "settings")), expected);
    EXPECT_EQ(run("import --replace " + (folder / "settings")), expected);
    EXPECT_EQ(run("import " + (folder / "none")),
              error("import: /none: No such file or directory"));
    folder.write("settings", std::string(1048577, '#'));
    EXPECT_EQ(run("import " + (folder / "settings")), error("import: /settings: File too large"));
    EXPECT_EQ(working(), "a=1\n");
}

TEST_F(Nvram, Diffs) {
    folder.write("tmp/nvram", "a=1\nb=2\nhttp_password=new\nz=x\\x01y\n");
    folder.write("etc/default", "# factory\nb=1\nhttp_password=old\nc=3\nz=x\\x01y\n");
    EXPECT_EQ(
        run("diff @factory @working"),
        no("+ a=1\n- b=1\n+ b=2\n- c=3\n- http_password=********\n+ http_password=********\n"));
    EXPECT_EQ(run("diff --show-secrets @working @factory"),
              no("- a=1\n- b=2\n+ b=1\n+ c=3\n- http_password=new\n+ http_password=old\n"));
    EXPECT_EQ(run("diff @working @working"), done());
    EXPECT_EQ(run("commit"), done());
    EXPECT_EQ(run("diff @flash @working"), done());
    EXPECT_EQ(run("set b=22"), done());
    EXPECT_EQ(run("diff @flash " + (folder / "tmp/nvram")), no("- b=2\n+ b=22\n"));
    EXPECT_EQ(run("commit"), done());
    EXPECT_EQ(run("diff " + (folder / "flash/nvram.a") + " " + (folder / "flash/nvram.b")),
              no("- b=2\n+ b=22\n"));
}

TEST_F(Nvram, DiffsAsJson) {
    folder.write("tmp/nvram", "a=1\nb=2\nhttp_password=new\n");
    folder.write("etc/default", "b=1\nc=\n");
    EXPECT_EQ(run("diff --json @factory @working"),
              no("{\"key\":\"a\",\"old\":null,\"new\":\"1\"}\n"
                 "{\"key\":\"b\",\"old\":\"1\",\"new\":\"2\"}\n"
                 "{\"key\":\"c\",\"old\":\"\",\"new\":null}\n"
                 "{\"key\":\"http_password\",\"old\":null,\"new\":\"********\"}\n"));
}

TEST_F(Nvram, DiffNamesWhatItCannotRead) {
    folder.write("one", "a=1\nnonsense\n");
    folder.write("two", "a=2\n");
    EXPECT_EQ(run("diff " + (folder / "one") + " " + (folder / "two")),
              (Result{2, "- a=1\n+ a=2\n", "nvram: diff: /one: line 2 is not KEY=VALUE\n"}));
    EXPECT_EQ(run("diff " + (folder / "two") + " " + (folder / "one")),
              (Result{2, "- a=2\n+ a=1\n", "nvram: diff: /one: line 2 is not KEY=VALUE\n"}));
    EXPECT_EQ(run("diff " + (folder / "one") + " " + (folder / "none")),
              error("diff: /none: No such file or directory"));
    EXPECT_EQ(run("diff @working @factory"), error("diff: " + no_copy));
    EXPECT_EQ(run("diff @flash @factory"), error("diff: /flash/nvram: No such file or directory"));
    EXPECT_EQ(run("diff @working"), error("diff: missing argument (try 'nvram --help')"));
}

TEST_F(Nvram, ChecksItsWords) {
    EXPECT_EQ(run(""), error("missing verb (try 'nvram --help')"));
    EXPECT_EQ(run("fetch a"), error("fetch: unknown verb (try 'nvram --help')"));
    EXPECT_EQ(run("--loud get a"), error("--loud: unknown option (try 'nvram --help')"));
    EXPECT_EQ(run("get --replace a"), error("get: does not take --replace (try 'nvram --help')"));
    EXPECT_EQ(run("get --show-secrets a"),
              error("get: does not take --show-secrets (try 'nvram --help')"));
    EXPECT_EQ(run("get --check a"), error("get: does not take --check (try 'nvram --help')"));
    EXPECT_EQ(run("--root"), error("--root: missing directory (try 'nvram --help')"));
}

TEST_F(Nvram, HelpsAndNamesItsVersion) {
    EXPECT_EQ(run("--version"), done("nvram " RC_VERSION "\n"));
    const Result help = run("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.errors, "");
    for (const char* word : {"get KEY", "set KEY=VALUE", "unset KEY", "show ", "commit", "load",
                             "default", "export FILE|-", "import [--replace] FILE|-", "diff ",
                             "--root DIR", "Exit status: 0 done"})
        EXPECT_NE(help.output.find(word), std::string::npos) << word;
}

TEST_F(Nvram, NoticesAFullOutput) {
    folder.write("tmp/nvram", "a=1\n");
    folder.write("etc/default", "");
    folder.write("output", "");
    for (const char* words :
         {"get a", "show", "export -", "--help", "--version", "diff @working @factory"})
        EXPECT_EQ(run(words, "/dev/full"), error("standard output: No space left on device"))
            << words;
}

}  // namespace
