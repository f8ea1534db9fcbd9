// Archives of rc-bundle, and those that only look like it: each of these is refused.

#include "plan/inspect/bundle.h"

#include <archive.h>
#include <archive_entry.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

struct Member {
    std::string name;
    std::string content = {};
    unsigned type = AE_IFREG;
    // The target of a link.
    std::string symlink = {};
    std::string hardlink = {};
};

const std::vector<Member> least = {{"rc-bundle/about", "format 1\n"},
                                   {"rc-bundle/settings", "lan_if=br0\n"}};

std::vector<Member> with(const std::vector<Member>& more) {
    std::vector<Member> all = least;
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

// A file that is removed at the end.
class ArchiveFile {
  public:
    ArchiveFile() {
        char name[] = "/tmp/bundle_test.XXXXXX";
        close(mkstemp(name));
        path_ = name;
    }
    explicit ArchiveFile(const std::string& content) : ArchiveFile() { put(content); }
    explicit ArchiveFile(const std::vector<Member>& members, int filter = ARCHIVE_FILTER_NONE,
                         int format = ARCHIVE_FORMAT_TAR_USTAR);
    ~ArchiveFile() { std::filesystem::remove(path_); }
    ArchiveFile(const ArchiveFile&) = delete;
    ArchiveFile& operator=(const ArchiveFile&) = delete;

    void put(const std::string& content) const { std::ofstream(path_) << content; }
    std::string content() const {
        std::ostringstream text;
        text << std::ifstream(path_).rdbuf();
        return text.str();
    }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

ArchiveFile::ArchiveFile(const std::vector<Member>& members, int filter, int format)
    : ArchiveFile() {
    archive* const writer = archive_write_new();
    archive_write_set_format(writer, format);
    archive_write_add_filter(writer, filter);
    EXPECT_EQ(archive_write_open_filename(writer, path_.c_str()), ARCHIVE_OK);
    for (const Member& member : members) {
        archive_entry* const entry = archive_entry_new();
        archive_entry_set_pathname(entry, member.name.c_str());
        archive_entry_set_filetype(entry, member.type);
        archive_entry_set_perm(entry, 0600);
        archive_entry_set_size(entry, static_cast<la_int64_t>(member.content.size()));
        if (!member.symlink.empty()) archive_entry_set_symlink(entry, member.symlink.c_str());
        if (!member.hardlink.empty()) archive_entry_set_hardlink(entry, member.hardlink.c_str());
        EXPECT_EQ(archive_write_header(writer, entry), ARCHIVE_OK) << archive_error_string(writer);
        archive_write_data(writer, member.content.data(), member.content.size());
        archive_entry_free(entry);
    }
    EXPECT_EQ(archive_write_close(writer), ARCHIVE_OK);
    archive_write_free(writer);
}

// The message; empty if the archive is read.
std::string refusal_of(const ArchiveFile& file) {
    const auto read = read_bundle(file.path());
    const auto* const error = std::get_if<BundleError>(&read);
    return error ? error->message : "";
}

TEST(BundleReader, MembersOfAPlainAndOfAPackedArchive) {
    const std::string bytes("\0\xff\n", 3);
    for (const int filter : {ARCHIVE_FILTER_NONE, ARCHIVE_FILTER_GZIP}) {
        const ArchiveFile file(with({{"rc-bundle/files/var/udhcpd.leases", bytes},
                                     {"rc-bundle/commands/route", "Kernel IP routing table\n"},
                                     {"rc-bundle/files/empty", ""}}),
                               filter);
        const auto read = read_bundle(file.path());
        ASSERT_TRUE(std::holds_alternative<Bundle>(read)) << refusal_of(file);
        const auto& bundle = std::get<Bundle>(read);
        EXPECT_EQ(bundle.members.size(), 5U);
        EXPECT_EQ(*bundle.get("settings"), "lan_if=br0\n");
        EXPECT_EQ(*bundle.file("/var/udhcpd.leases"), bytes);
        EXPECT_EQ(*bundle.file("/empty"), "");
        EXPECT_EQ(bundle.file("/var"), nullptr);
        EXPECT_EQ(bundle.output("route"), "Kernel IP routing table\n");
        EXPECT_EQ(bundle.output("ps"), "");
    }
}

TEST(BundleReader, NamesThatLeadElsewhere) {
    const char* const names[] = {
        "/etc/passwd",
        "../rc-bundle/x",
        "rc-bundle/../../etc/passwd",
        "rc-bundle/files/..",
        "rc-bundle/./x",
        "rc-bundle//x",
        "rc-bundle/x\ny",
        "rc-bundle/\033[31mred",
        "rc-bundle/a b",
        "rc-bundle/\x7f",
        "rc-bundle",
        "other/settings",
        "rc-bundlex/settings",
    };
    for (const char* const name : names) {
        const std::string message = refusal_of(ArchiveFile(with({{name, "x"}})));
        EXPECT_THAT(message, HasSubstr("no name of a bundle's member")) << name;
        EXPECT_TRUE(std::ranges::all_of(message, [](char c) { return c >= ' ' && c <= '~'; }))
            << name;
    }
}

TEST(BundleReader, OnlyPlainFiles) {
    const Member members[] = {
        {"rc-bundle/files/x", "", AE_IFLNK, "/etc/passwd"},
        {"rc-bundle/files/x", "", AE_IFREG, "", "rc-bundle/settings"},
        {"rc-bundle/files/x", "", AE_IFREG, "", "/etc/passwd"},
        {"rc-bundle/files/x", "", AE_IFIFO},
        {"rc-bundle/files/x", "", AE_IFCHR},
        {"rc-bundle/files/x", "", AE_IFBLK},
    };
    for (const Member& member : members)
        EXPECT_EQ(refusal_of(ArchiveFile(with({member}))), "rc-bundle/files/x: not a plain file")
            << member.type;
    EXPECT_THAT(refusal_of(ArchiveFile(with({{"rc-bundle/files", "", AE_IFDIR}}))),
                testing::Not(IsEmpty()));
}

TEST(BundleReader, AMemberTwice) {
    EXPECT_EQ(refusal_of(ArchiveFile(with({least[1]}))),
              "rc-bundle/settings: twice in the archive");
}

TEST(BundleReader, TooManyMembers) {
    std::vector<Member> members = least;
    while (members.size() < most_members)
        members.push_back({"rc-bundle/files/" + std::to_string(members.size())});
    EXPECT_EQ(refusal_of(ArchiveFile(members)), "");
    members.push_back({"rc-bundle/files/last"});
    EXPECT_EQ(refusal_of(ArchiveFile(members)), "rc-bundle/files/last: more than 4096 members");
}

TEST(BundleReader, TooMuch) {
    const std::string longest(longest_member, 'x');
    EXPECT_EQ(refusal_of(ArchiveFile(with({{"rc-bundle/files/a", longest}}))), "");
    EXPECT_EQ(refusal_of(ArchiveFile(with({{"rc-bundle/files/a", longest + "x"}}))),
              "rc-bundle/files/a: larger than any router's file");
    // Each is small enough.
    std::vector<Member> members = least;
    for (size_t i = 0; i < longest_bundle / longest_member; i++)
        members.push_back({"rc-bundle/files/" + std::to_string(i), longest});
    EXPECT_EQ(refusal_of(ArchiveFile(members, ARCHIVE_FILTER_GZIP)),
              "rc-bundle/files/7: larger than any router's file");
}

TEST(BundleReader, AFewKilobytesThatUnpackToVeryMuch) {
    const std::string zeros(96 * 1024 * 1024, '\0');
    const ArchiveFile bomb(with({{"rc-bundle/files/a", zeros}}), ARCHIVE_FILTER_GZIP);
    EXPECT_LT(bomb.content().size(), 200'000U);
    EXPECT_EQ(refusal_of(bomb), "rc-bundle/files/a: larger than any router's file");
}

// A header that promises more than there is.
TEST(BundleReader, AHeaderThatLies) {
    std::string tar = ArchiveFile(least).content();
    constexpr size_t size_field = 124;
    constexpr size_t sum_field = 148;
    tar.replace(size_field, 12, "77777777777\0", 12);
    tar.replace(sum_field, 8, "        ");
    unsigned sum = 0;
    for (size_t i = 0; i < 512; i++) sum += static_cast<unsigned char>(tar[i]);
    char digits[8];
    snprintf(digits, sizeof digits, "%06o", sum);
    tar.replace(sum_field, 7, std::string(digits, 7));
    EXPECT_THAT(refusal_of(ArchiveFile(tar)), HasSubstr("rc-bundle/about: "));
}

TEST(BundleReader, CutAnywhere) {
    const std::string log(3000, 'x');
    for (const int filter : {ARCHIVE_FILTER_NONE, ARCHIVE_FILTER_GZIP}) {
        const std::string whole =
            ArchiveFile({least[0], {"rc-bundle/commands/log", log}, least[1]}, filter).content();
        ASSERT_EQ(refusal_of(ArchiveFile(whole)), "");
        const size_t end = filter == ARCHIVE_FILTER_GZIP ? whole.size() - 8 : 512 * 10;
        for (size_t length = 0; length < end; length += 61)
            EXPECT_NE(refusal_of(ArchiveFile(whole.substr(0, length))), "") << length;
    }
}

TEST(BundleReader, NotAnArchive) {
    EXPECT_EQ(refusal_of(ArchiveFile("")), "damaged, or no tar archive");
    EXPECT_EQ(refusal_of(ArchiveFile("lan_if=br0\n")), "damaged, or no tar archive");
    EXPECT_EQ(refusal_of(ArchiveFile(std::string(5000, 'x'))), "damaged, or no tar archive");
    EXPECT_EQ(refusal_of(ArchiveFile("\x1f\x8b\x08 and no more")), "damaged, or no tar archive");
}

TEST(BundleReader, OtherFormats) {
    for (const int filter : {ARCHIVE_FILTER_XZ, ARCHIVE_FILTER_BZIP2, ARCHIVE_FILTER_COMPRESS})
        EXPECT_EQ(refusal_of(ArchiveFile(least, filter)), "damaged, or no tar archive") << filter;
    for (const int format : {ARCHIVE_FORMAT_ZIP, ARCHIVE_FORMAT_CPIO_POSIX})
        EXPECT_EQ(refusal_of(ArchiveFile(least, ARCHIVE_FILTER_NONE, format)),
                  "damaged, or no tar archive")
            << format;
}

TEST(BundleReader, ArchivesOfOtherPrograms) {
    EXPECT_EQ(refusal_of(ArchiveFile({least[0]})),
              "not an archive of rc-bundle: it has no rc-bundle/settings");
    EXPECT_EQ(refusal_of(ArchiveFile({least[1]})),
              "not an archive of rc-bundle: it has no rc-bundle/about");
}

TEST(BundleReader, NoFile) {
    const auto missing = read_bundle("/nonexistent/bundle");
    ASSERT_TRUE(std::holds_alternative<BundleError>(missing));
    EXPECT_THAT(std::get<BundleError>(missing).message, HasSubstr("/nonexistent/bundle"));
    const auto folder = read_bundle("/tmp");
    ASSERT_TRUE(std::holds_alternative<BundleError>(folder));
    EXPECT_NE(std::get<BundleError>(folder).message, "");
}

}  // namespace
