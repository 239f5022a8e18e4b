#include "common/AnonyString.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

struct Masking {
    std::string text;
    std::string masked;
};

void PrintTo(const Masking& m, std::ostream* out) { *out << m.text.size() << " bytes"; }

class AnonyStringTest : public ::testing::TestWithParam<Masking> {};

TEST_P(AnonyStringTest, MasksAllButFirstAndLastByte) {
    EXPECT_EQ(GetParam().masked, android::VideoGetAnonyString(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
        Texts, AnonyStringTest,
        ::testing::Values(Masking{"", ""}, Masking{"a", "*"}, Masking{"ab", "a*"},
                          Masking{"abc", "a*c"}, Masking{"camera01", "c******1"},
                          // Bytes, not characters: the two-byte "é" at each end is cut.
                          Masking{"\xc3\xa9x\xc3\xa9", "\xc3***\xa9"}));

TEST(AnonySessionIdTest, MasksDecimalText) {
    EXPECT_EQ("*", android::AnonySessionId(7));
    EXPECT_EQ("1*", android::AnonySessionId(12));
    EXPECT_EQ("1***5", android::AnonySessionId(12345));
    EXPECT_EQ("4********5", android::AnonySessionId(4294967295));
}

}  // namespace
