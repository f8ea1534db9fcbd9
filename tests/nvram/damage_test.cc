// Damaged images: for any bytes, a load gives the right generation or a clear error, and does not
// crash.
#include <gtest/gtest.h>

#include <cerrno>
#include <random>

#include "libnvram/generation.h"
#include "libnvram/store.h"
#include "simulated_disk.h"
#include "store_kit.h"

namespace {

const std::string older = nvram::encode({.number = 41, .image = "a=old\nlist=x\\x01y\n"});
const std::string newer =
    nvram::encode({.number = 42, .image = "a=new\nb=\nlist=x\\x01y\\x02\nz=\\\\\n"});

std::string body(const std::string& file) {
    return std::string(nvram::decode(file).image);
}

// The working copy after a load from these two files; "(none)" if it failed with the right error.
std::string loaded(const std::string& a, const std::string& b) {
    SimulatedDisk& simulated = SimulatedDisk::reset();
    simulated.state.place("/flash/nvram.a", a);
    simulated.state.place("/flash/nvram.b", b);
    simulated.state.place("/etc/default", "a=factory\n");
    nvram::Store store(places);
    if (!store.load()) return errno == EBADMSG ? "(none)" : "(wrong errno)";
    return *simulated.state.content("/tmp/nvram");
}

// One to four random damages: a byte, a cut, an insertion, a block of ones as in erased flash.
std::string damage(std::string text, std::mt19937& random) {
    for (unsigned wounds = 1 + random() % 4; wounds > 0; --wounds) {
        const std::size_t place = text.empty() ? 0 : random() % text.size();
        switch (random() % 5) {
            case 0:
                if (!text.empty()) text[place] = static_cast<char>(random());
                break;
            case 1:
                if (!text.empty())
                    text[place] = static_cast<char>(text[place] ^ (1 << random() % 8));
                break;
            case 2:
                text.resize(place);
                break;
            case 3:
                text.insert(place, 1 + random() % 8, static_cast<char>(random()));
                break;
            default:
                for (std::size_t i = place; i < text.size() && i < place + 16; ++i)
                    text[i] = '\xff';
        }
    }
    return text;
}

TEST(Damage, EveryTruncationOfTheNewestFallsBack) {
    ASSERT_EQ(loaded(older, newer), body(newer));
    for (std::size_t length = 0; length < newer.size(); ++length) {
        const std::string cut = newer.substr(0, length);
        ASSERT_EQ(loaded(older, cut), body(older)) << length;
        ASSERT_EQ(loaded(cut, older), body(older)) << length;
        ASSERT_EQ(loaded(cut, cut), "(none)") << length;
    }
}

TEST(Damage, EveryTruncationOfTheOlderIsHarmless) {
    for (std::size_t length = 0; length < older.size(); ++length)
        ASSERT_EQ(loaded(older.substr(0, length), newer), body(newer)) << length;
}

TEST(Damage, TenThousandCorruptionsOfGenerations) {
    std::mt19937 random(20240229);
    int fell_back = 0;
    int failed = 0;
    for (int round = 0; round < 10000; ++round) {
        const std::string a = random() % 2 != 0 ? damage(older, random) : older;
        const std::string b = a == older || random() % 2 != 0 ? damage(newer, random) : newer;
        const std::string expected = b == newer ? body(newer) : a == older ? body(older) : "(none)";
        const std::string found = round % 2 != 0 ? loaded(a, b) : loaded(b, a);
        ASSERT_EQ(found, expected) << round;
        fell_back += expected == body(older);
        failed += expected == "(none)";
    }
    EXPECT_GT(fell_back, 1000);
    EXPECT_GT(failed, 1000);
}

TEST(Damage, TenThousandCorruptionsOfAWorkingCopy) {
    std::mt19937 random(7);
    int refused = 0;
    const std::string whole = "a=1\nb=x\\x01y\nc=\\\\\n# note\nlist=1:2\\x01\nz=last\n";
    for (int round = 0; round < 10000; ++round) {
        const std::string text = damage(whole, random);
        SimulatedDisk& simulated = SimulatedDisk::reset();
        simulated.state.place("/tmp/nvram", text);
        nvram::Store store(places);
        const nvram::Image* image = store.working();
        ASSERT_NE(image, nullptr);
        // The image that was read is valid: sorted, with legal keys, the same after writing.
        const std::string written = image->text();
        std::vector<nvram::BadLine> bad;
        ASSERT_EQ(nvram::Image(written, &bad).text(), written) << round;
        ASSERT_TRUE(bad.empty()) << round;
        // Lines that cannot be read are neither dropped nor committed.
        std::vector<nvram::BadLine> unreadable;
        const nvram::Image whole_lines(text, &unreadable);
        const bool good = unreadable.empty();
        refused += !good;
        ASSERT_EQ(store.change({{"mended", "1"}}), good) << round;
        ASSERT_EQ(store.commit(), good) << round;
        ASSERT_EQ(store.working()->get("mended").has_value(), good) << round;
        if (!good) {
            ASSERT_EQ(*simulated.state.content("/tmp/nvram"), text) << round;
        }
    }
    EXPECT_GT(refused, 1000);
    EXPECT_LT(refused, 9000);
}

TEST(Damage, EveryTruncationOfAWorkingCopy) {
    const std::string whole = "a=1\nb=x\\x01y\nc=\\\\\nz=last\n";
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const nvram::Image image(whole.substr(0, length));
        // All undamaged lines are there.
        if (length >= 4) {
            ASSERT_EQ(image.get("a"), "1") << length;
        }
        if (length >= 12) {
            ASSERT_EQ(image.get("b"), "x\x01y") << length;
        }
    }
}

}  // namespace
