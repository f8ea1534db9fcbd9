// Which bytes of a text belong to a secret.
#include "nvram/mask.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// The text with "*" in place of each byte that belongs to one of the secrets.
std::string masked(const std::vector<std::string>& secrets, std::string text, bool parts = false) {
    const auto mask = std::make_unique<nvram::Mask>();
    for (const std::string& secret : secrets) EXPECT_TRUE(mask->add(secret));
    const std::string marks = mask->marks(text, parts);
    EXPECT_EQ(marks.size(), text.size());
    for (size_t i = 0; i < text.size(); ++i)
        if (marks[i] != 0) text[i] = '*';
    return text;
}

struct Row {
    std::string text;
    std::string expected;
};

void check(const std::vector<std::string>& secrets, const std::vector<Row>& rows,
           bool parts = false) {
    for (const Row& row : rows)
        EXPECT_EQ(masked(secrets, row.text, parts), row.expected) << row.text;
}

TEST(Mask, FindsASecretAndItsPartsOfSix) {
    check({"Swordfish7"}, {
                              {"Swordfish7", "**********"},
                              {"user:Swordfish7@host", "user:**********@host"},
                              {"Swordf", "******"},
                              {"dfish7", "******"},
                              {"a wordfi b", "a ****** b"},
                              {"xwordfisx", "x*******x"},
                              {"Sword", "Sword"},
                              {"fish7", "fish7"},
                              {"Sword fish7", "Sword fish7"},
                              {"Swordfish7Swordfish7", "********************"},
                              {"", ""},
                          });
}

TEST(Mask, IgnoresTheCaseOfLetters) {
    check({"aB12cD34eF"}, {{"key AB12CD34EF", "key **********"}, {"ab12cd", "******"}});
}

TEST(Mask, FindsOverlappingParts) {
    check({"abcdefgh", "efghijkl"}, {
                                        {"abcdefghijkl", "************"},
                                        {"cdefghij", "********"},
                                        {"defghi", "defghi"},
                                        {"ghijkl abcdef", "****** ******"},
                                    });
    check({"aaaaaaa"},
          {{"aaaaa", "aaaaa"}, {"baaaaaab", "b******b"}, {"aaaaaaaaaaaa", "************"}});
}

TEST(Mask, FindsAShortSecretAsAWhole) {
    check({"admin", "1234"}, {
                                 {"admin:1234", "*****:****"},
                                 {"administrator", "*****istrator"},
                                 {"admi", "admi"},
                                 {"x1234", "x****"},
                                 {"51234", "51234"},
                                 {"12345", "12345"},
                                 {"1234.1234", "****.****"},
                             });
}

TEST(Mask, FindsAVeryShortSecretOnlyIfItStandsAlone) {
    check({"abc", "7", "-x"}, {
                                  {"abc", "***"},
                                  {"\"abc\"", "\"***\""},
                                  {"abcd", "abcd"},
                                  {"xabc", "xabc"},
                                  {"abc_abc", "***_***"},
                                  {"7 17 70 7", "* 17 70 *"},
                                  {"option=7\n", "option=*\n"},
                                  {"a -x b-x", "a ** b-x"},
                                  {"xabcx xabc.", "xabcx xabc."},
                              });
}

TEST(Mask, FindsAQuotedSecret) {
    // As PPP options, in single quotes of a shell, and in a format of printf's.
    check({"p\"a$s'w%d\\1"}, {
                                 {"p\"a$s'w%d\\1", "***********"},
                                 {"p\\\"a\\$s\\'w%d\\\\1", "***************"},
                                 {"p\"a$s'\\''w%d\\1", "**************"},
                                 {"p\"a$s'w%%d\\1", "************"},
                             });
    check({"ab\\cdef"}, {{"abcdef", "******"}, {"ab\\\\cdef", "********"}});
    check({"a'b"}, {{"'a'\\''b'", "'******'"}});
}

TEST(Mask, FindsBase64AtEachOffset) {
    // "admin:Swordfish7", "me:Swordfish7", "x:Swordfish7", "Swordfish7" as RFC 4648 encodes them.
    check({"Swordfish7"}, {
                              {"YWRtaW46U3dvcmRmaXNoNw==", "YWRtaW46*************w=="},
                              {"bWU6U3dvcmRmaXNoNw==", "bWU6*************w=="},
                              {"eDpTd29yZGZpc2g3", "eDp*************"},
                              {"OlN3b3JkZmlzaDc=", "Ol************c="},
                          });
}

TEST(Mask, FindsHexadecimalForms) {
    check({"Swordfish7"}, {
                              {"53776f7264666973683720", "********************20"},
                              {"776F7264", "********"},
                          });
}

TEST(Mask, MasksBinaryText) {
    const std::string zeros(3, '\0');
    EXPECT_EQ(masked({"secret!"}, zeros + "secret!" + zeros + "\xff"),
              zeros + "*******" + zeros + "\xff");
    EXPECT_EQ(masked({"abc"}, std::string("-p\0abc\0", 7)), std::string("-p\0***\0", 7));
    EXPECT_EQ(masked({"gr\xc3\xb6\xc3\x9f"
                      "e1"},
                     "gr\xc3\xb6\xc3\x9f"
                     "e1"),
              "********");
}

TEST(Mask, MasksLongTexts) {
    const std::string line(100'000, 'x');
    EXPECT_EQ(masked({"Swordfish7"}, line + "Swordfish7" + line), line + "**********" + line);
    // As long as the input may be, and everything in it is to be looked at.
    EXPECT_EQ(masked({std::string(3000, 'a')}, std::string(1'048'576, 'a')),
              std::string(1'048'576, '*'));
    EXPECT_EQ(masked({"abcdef"}, "abc" + std::string(500'000, '\\') + "def"),
              std::string(500'006, '*'));
}

TEST(Mask, SparesKeysAndShortSecretsInMembersOfItsOwn) {
    check({"password", "1", "abc"},
          {
              {"http_password=password\nport=1\n", "http_password=********\nport=1\n"},
              {"- bpa_password=my password=1\n", "- bpa_password=my ********=1\n"},
              {"password\npassword=\n", "********\npassword=\n"},
              {"=password", "=********"},
          },
          true);
    check({"d=abcdef"}, {{"password=abcdef\n", "password=******\n"}}, true);
}

TEST(Mask, HasNoSecretWithoutSettings) {
    check({}, {{"anything at all", "anything at all"}});
    check({""}, {{"anything at all", "anything at all"}});
}

TEST(Mask, RefusesMoreThanItCanHold) {
    const auto mask = std::make_unique<nvram::Mask>();
    std::string secret;
    for (int i = 0; i < 20'000; ++i) secret += std::to_string(i) + ";";
    EXPECT_FALSE(mask->add(secret));
    // A search ends nevertheless.
    EXPECT_EQ(mask->marks("no;such;text", false).size(), 12U);
}

}  // namespace
