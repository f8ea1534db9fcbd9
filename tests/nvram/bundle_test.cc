// nvram mask, generations and bundle as commands. What finds secrets in a text is tested by
// mask_test.cc.
#include <gtest/gtest.h>

#include <filesystem>

#include "command_kit.h"
#include "libnvram/generation.h"

namespace {

class Bundle : public Nvram {
  protected:
    void write_generation(char slot, std::uint32_t number, const std::string& image) {
        std::filesystem::create_directory(folder / "flash");
        folder.write(std::string("flash/nvram.") + slot,
                     nvram::encode({.number = number, .image = image}));
    }

    // Standard input is a file with this text.
    Result mask(const std::string& input, const std::string& words = "") {
        folder.write("input", input);
        return run("mask " + words + " <" + (folder / "input"));
    }
};

TEST_F(Bundle, MasksTheSecretsOfAllSettings) {
    folder.write("tmp/nvram", "http_password=in the working copy\nlan_ipaddr=192.168.1.1\n");
    folder.write("tmp/nvram.before", "http_password=before a trial\n");
    folder.write("etc/default", "http_password=of the factory\n");
    write_generation('a', 1, "wifi_psk_pwd2=in slot a\n");
    // A damaged one.
    folder.write("flash/nvram.b", "nvram 1 generation=2\nwifi_key13=in slot b\n\x80");
    EXPECT_EQ(mask("a in the working copy\nb before a trial\nc of the factory\nd in slot a\n"
                   "e in slot b\nf 192.168.1.1\n"),
              done("a ********\nb ********\nc ********\nd ********\ne ********\nf 192.168.1.1\n"));
}

TEST_F(Bundle, MasksWithoutSettings) {
    EXPECT_EQ(mask("anything"), done("anything"));
    EXPECT_EQ(mask(""), done());
}

TEST_F(Bundle, MasksEscapedValues) {
    folder.write("tmp/nvram", "http_password=tab\\x09 and \\\\x\n");
    EXPECT_EQ(mask("<tab\t and \\x>"), done("<********>"));
}

TEST_F(Bundle, CutsALongInput) {
    folder.write("tmp/nvram", "http_password=Swordfish7\n");
    // The secret is across the limit, so that what is left of it is a part.
    const std::string text(1048576 - 7, 'x');
    EXPECT_EQ(mask(text + "Swordfish7 and more"),
              done(text + "********\n(cut at 1048576 bytes)\n"));
    EXPECT_EQ(mask(text + "exactly"), done(text + "exactly"));
}

TEST_F(Bundle, RefusesWhatItCannotMask) {
    std::string image = "http_password=";
    for (int i = 0; i < 9000; ++i) image += std::to_string(i) + ";";
    folder.write("tmp/nvram", image + "\n");
    EXPECT_EQ(mask("text"), error("mask: the secrets are too long"));
    folder.write("tmp/nvram", "");
    EXPECT_EQ(run("mask <" + folder.path()), error("mask: Is a directory"));
}

TEST_F(Bundle, ChecksTheNamesOfMembers) {
    const std::string longest(89, 'n');
    for (const std::string& name : {std::string("a"), std::string("files/tmp/l2tp/l2tpd.conf"),
                                    std::string("a-b_c+d.e"), longest}) {
        const Result result = mask("", name);
        EXPECT_EQ(result.status, 0) << name;
        EXPECT_EQ(result.output.substr(0, 10 + name.size() + 1), "rc-bundle/" + name + '\0')
            << name;
    }
    for (const std::string& name :
         {std::string("\"\""), std::string("/a"), std::string("a/"), std::string("a//b"),
          std::string(".."), std::string("../a"), std::string("a/../b"), std::string(".a"),
          std::string("a/.b"), std::string("\"a b\""), std::string("\"a\nb\""),
          std::string("\"a\\\\b\""), std::string("a*"), longest + "n"})
        EXPECT_EQ(mask("", name), error("mask: not a member's name")) << name;
}

TEST_F(Bundle, WritesAMember) {
    folder.write("tmp/nvram", "http_password=Swordfish7\n");
    folder.write("input", "user Swordfish7\n");
    std::filesystem::last_write_time(
        folder / "input", std::filesystem::file_time_type::clock::from_sys(
                              std::chrono::sys_seconds(std::chrono::seconds(1'700'000'000))));
    const std::string member = run("mask files/a <" + (folder / "input")).output;
    ASSERT_EQ(member.size(), 1024U);
    const auto field = [&](std::size_t at, std::size_t size) { return member.substr(at, size); };
    EXPECT_EQ(field(0, 100), "rc-bundle/files/a" + std::string(83, '\0'));
    EXPECT_EQ(field(100, 8), std::string("0000600\0", 8));
    EXPECT_EQ(field(108, 16), std::string("0000000\0"
                                          "0000000\0",
                                          16));
    EXPECT_EQ(field(124, 12), std::string("00000000016\0", 12));
    EXPECT_EQ(field(136, 12), std::string("14524770400\0", 12));
    EXPECT_EQ(field(156, 1), "0");
    EXPECT_EQ(field(257, 8), std::string("ustar\0"
                                         "00",
                                         8));
    EXPECT_EQ(field(512, 512), "user ********\n" + std::string(498, '\0'));
    // A whole number of blocks needs no filling.
    EXPECT_EQ(mask(std::string(1024, 'x'), "a").output.size(), 1536U);
    EXPECT_EQ(mask("", "a").output.size(), 512U);
    EXPECT_EQ(run("mask --end"), done(std::string(1024, '\0')));
}

TEST_F(Bundle, WritesFilesAsMembers) {
    folder.write("tmp/nvram", "http_password=Swordfish7\n");
    folder.write("first", "user Swordfish7\n");
    folder.write("second", "x");
    const std::string first = folder / "first";
    const std::string second = folder / "second";
    const std::string missing = folder / "missing\x1b[1m";
    EXPECT_EQ(run("mask --files").output, "");
    const std::string both = run("mask --files " + first + " " + second).output;
    EXPECT_EQ(both, run("mask files" + first + " <" + first).output +
                        run("mask files" + second + " <" + second).output);
    // The others are written all the same.
    const Result result =
        run("mask --files '" + missing + "' first " + folder.path() + " " + second);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, both.substr(1024));
    // The test's folder is left out of error texts.
    EXPECT_EQ(result.errors,
              "files/missing\\x1b[1m: No such file or directory\n"
              "filesfirst: not a path from the root\n"
              "files: Is a directory\n");
    EXPECT_EQ(run("mask a b </dev/null"), error("mask: too many arguments"));
}

TEST_F(Bundle, SparesShortSecretsInMembersOfItsOwn) {
    folder.write("tmp/nvram", "http_password=1\nbpa_password=http_password\n");
    const std::string text = "http_password=http_password\nport=1\n";
    EXPECT_EQ(mask(text, "settings").output.substr(512, 30), "http_password=********\nport=1\n");
    EXPECT_EQ(mask(text, "files/x").output.substr(512, 32), "********=********\nport=********\n");
}

TEST_F(Bundle, ShowsTheShapesOfSecrets) {
    folder.write("tmp/nvram",
                 "bpa_password=\nhttp_password=12 34\nlan_ipaddr=1\nmail_password=\\x01\n"
                 "wifi_key1=00ff00FF11\nwsc_device_pin=12345670\n");
    EXPECT_EQ(run("mask --shapes"), done("http_password=5 text\nmail_password=1 text\n"
                                         "wifi_key1=10 hexadecimal\nwsc_device_pin=8 digits\n"));
    folder.write("tmp/nvram", "");
    EXPECT_EQ(run("mask --shapes"), done());
}

TEST_F(Bundle, ShowsGenerations) {
    EXPECT_EQ(run("generations"), done("a: missing, number 0, 0 bytes, taken by load: false\n"
                                       "b: missing, number 0, 0 bytes, taken by load: false\n"));
    write_generation('a', 4294967295, "a=1\n");
    write_generation('b', 1, "a=22\n");
    const std::string sizes[] = {std::to_string(folder.read("flash/nvram.a").size()),
                                 std::to_string(folder.read("flash/nvram.b").size())};
    // Numbers go round in a circle, so that 1 is newer.
    EXPECT_EQ(run("generations"),
              done("a: whole, number 4294967295, " + sizes[0] + " bytes, taken by load: false\n" +
                   "b: whole, number 1, " + sizes[1] + " bytes, taken by load: true\n"));
    EXPECT_EQ(
        run("generations --json"),
        done("{\"slot\":\"a\",\"state\":\"whole\",\"number\":4294967295,\"size\":" + sizes[0] +
             ",\"load\":false}\n{\"slot\":\"b\",\"state\":\"whole\",\"number\":1,\"size\":" +
             sizes[1] + ",\"load\":true}\n"));
    folder.write("flash/nvram.b", "damaged");
    EXPECT_EQ(run("generations"),
              done("a: whole, number 4294967295, " + sizes[0] + " bytes, taken by load: true\n" +
                   "b: damaged, number 0, 7 bytes, taken by load: false\n"));
    // A folder instead of a file cannot be read, and load takes nothing then.
    std::filesystem::remove(folder / "flash/nvram.b");
    std::filesystem::create_directory(folder / "flash/nvram.b");
    EXPECT_EQ(run("generations"),
              done("a: whole, number 4294967295, " + sizes[0] + " bytes, taken by load: false\n" +
                   "b: unreadable, number 0, 0 bytes, taken by load: false\n"));
    EXPECT_EQ(run("load").status, 2);
}

TEST_F(Bundle, StartsTheScript) {
    EXPECT_EQ(run("bundle -"), error("bundle: /usr/sbin/rc-bundle: No such file or directory"));
    std::filesystem::create_directories(folder / "usr/sbin");
    folder.write("usr/sbin/rc-bundle", "#!/bin/sh\necho \"$# $*\"\nexit 3\n");
    std::filesystem::permissions(folder / "usr/sbin/rc-bundle", std::filesystem::perms::owner_all);
    EXPECT_EQ(run("bundle /tmp/x"), (Result{3, "1 /tmp/x\n", ""}));
    EXPECT_EQ(run("bundle"), (Result{3, "0 \n", ""}));
    EXPECT_EQ(run("bundle a b"), error("bundle: too many arguments (try 'nvram --help')"));
    EXPECT_EQ(run("show --end"), error("show: does not take --end (try 'nvram --help')"));
}

}  // namespace
