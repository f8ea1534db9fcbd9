// rc's behaviour if its boot initialisation fails.

#include "rc/rc.h"
#include "recorded.h"

namespace {

int initialisations = 0;

}  // namespace

// A stub for rc_init.
extern "C" int __wrap__Z7rc_initv() {
    initialisations++;
    return -1;
}

namespace {

class InitFailureTest : public RecordedTest {
  protected:
    InitFailureTest() { initialisations = 0; }

    static int run(std::vector<std::string> words) {
        std::vector<char*> pointers;
        pointers.reserve(words.size() + 1);
        for (std::string& word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        return rc_main(static_cast<int>(words.size()), pointers.data());
    }
};

TEST_F(InitFailureTest, EndsTheFirstUseWithAMessage) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"rc", "httpd", "start"},
                                                  {"rc", "wan", "start"},
                                                  {"rc", "start"},
                                                  {"rc", "service", "restart"}}) {
        Recording played;
        const Playing playing(played);
        EXPECT_EQ(run(words), 1);
        EXPECT_EQ(played.transcript.text(),
                  "print  nvram error!!\n"
                  "print\n");
    }
    EXPECT_EQ(initialisations, 4);
}

TEST_F(InitFailureTest, DoesNotAffectRcInit) {
    EXPECT_EQ(run({"rc", "init"}), 0);
    EXPECT_EQ(initialisations, 1);
    EXPECT_EQ(transcript(), "");
}

TEST_F(InitFailureTest, DoesNotMatterOnceThereIsAWorkingCopy) {
    set({});
    EXPECT_EQ(run({"rc", "httpd", "stop"}), 0);
    EXPECT_EQ(initialisations, 0);
}

}  // namespace
