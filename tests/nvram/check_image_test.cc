// nvram check: whole files, with mistakes in their lines.
#include "check_kit.h"

namespace {

using namespace nvram;

std::vector<std::string> found_in_file(const std::string& text) {
    std::vector<std::string> lines;
    for (const Finding& finding : check_image(text)) lines.push_back(shown(finding));
    return lines;
}

std::string with_returns(std::string text) {
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2))
        text.insert(at, "\r");
    return text;
}

using Lines = std::vector<std::string>;

TEST(CheckImage, ASoundFileHasNoFindings) {
    EXPECT_EQ(found_in_file("# settings\n\n" + with_changes({})).size(), 3U);
    Image image(with_changes({}));
    EXPECT_EQ(found_in_file(image.text()), Lines());
}

TEST(CheckImage, OneMistakeOfAFileIsOneFinding) {
    const std::string sound = Image(with_changes({})).text();
    const auto lines = static_cast<std::size_t>(std::count(sound.begin(), sound.end(), '\n'));
    EXPECT_EQ(found_in_file(with_returns(sound)),
              Lines({"error line 1: ends with a carriage return, and so do " +
                     std::to_string(lines - 1) + " other lines"}));
    EXPECT_EQ(found_in_file("\xef\xbb\xbf" + sound),
              Lines({"error line 1: begins with a byte order mark, which is no part of a key"}));
    EXPECT_EQ(found_in_file(""), Lines({"error the file: contains no setting"}));
    EXPECT_EQ(found_in_file("# nothing\n\n"), Lines({"error the file: contains no setting"}));
    EXPECT_EQ(found_in_file(sound +
                            std::string("\0\x7f"
                                        "ELF\0",
                                        6) +
                            sound),
              Lines({"error the file: is not a text: it contains zero bytes"}));
}

// The mistakes of the rest are found all the same.
TEST(CheckImage, ReadsAFileWithReturnsAsItIsMeant) {
    const std::string sound = Image(with_changes({})).text();
    EXPECT_EQ(found_in_file(with_returns(Image(with_changes({"fw_nat=0"})).text())).back(),
              "warning fw_nat: is off");
    EXPECT_EQ(
        found_in_file(sound + "log_dos=0\r"),
        Lines({"error line " + std::to_string(1 + std::count(sound.begin(), sound.end(), '\n')) +
                   ": ends with a carriage return",
               found_in_file(sound + "log_dos=0")[0]}));
}

TEST(CheckImage, EqualMistakesInLinesAreOneFinding) {
    const std::string sound = Image(with_changes({})).text();
    EXPECT_EQ(
        found_in_file("nonsense\n" + sound + "more\nstill more\n*=1\n"),
        Lines({"error line 1: is not KEY=VALUE (and 2 more such lines)",
               "error line " + std::to_string(4 + std::count(sound.begin(), sound.end(), '\n')) +
                   ": has an invalid key; use 1 to 127 of A-Z a-z 0-9 _ - ."}));
}

TEST(CheckImage, NamesTheLinesOfAKeyGivenTwice) {
    const std::string text = "fw_nat=0\n" + Image(with_changes({})).text();
    const std::vector<Finding> all = check_image(text);
    ASSERT_EQ(all.size(), 1U);
    const std::size_t line =
        1 + static_cast<std::size_t>(std::count(
                text.begin(), text.begin() + static_cast<long>(text.find("\nfw_nat=")) + 1, '\n'));
    EXPECT_EQ(shown(all[0]), "warning fw_nat: is given more than once, in line 1 and line " +
                                 std::to_string(line));
    EXPECT_EQ(all[0].effect, "uses line " + std::to_string(line));
    EXPECT_EQ(all[0].value, "1");
}

TEST(CheckImage, ManyUnknownKeysAreOneFinding) {
    const std::string sound = Image(with_changes({})).text();
    EXPECT_EQ(
        found_in_file(sound + "vendor_a=1\nvendor_b=2\nvendor_c=3\nvendor_d=4\n"),
        Lines({"note vendor_a: is not a setting of rc, nor are vendor_b, vendor_c, vendor_d"}));
    EXPECT_EQ(
        found_in_file(sound + "vendor_a=1\nvendor_b=2\n"),
        Lines({"note vendor_a: is not a setting of rc", "note vendor_b: is not a setting of rc"}));
}

}  // namespace
