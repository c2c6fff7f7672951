#include "platform/linux/desktop/Text.h"

#include <gtest/gtest.h>

namespace kivo::desktop {
namespace {

#define FFFD "\xEF\xBF\xBD"

struct Case {
    std::string bytes;
    std::string text;
};

class ValidUTF8Test : public testing::TestWithParam<Case> {};

TEST_P(ValidUTF8Test, ReplacesEachMaximalSubpart) {
    EXPECT_EQ(ValidUTF8(GetParam().bytes), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ValidUTF8Test,
    testing::Values(
        Case{"", ""}, Case{"plain", "plain"},
        Case{"\u00e9\u20ac\U0001D11E", "\u00e9\u20ac\U0001D11E"},
        // the Unicode Standard's own examples, tables 3-8 to 3-11
        Case{"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", FFFD FFFD FFFD FFFD FFFD FFFD FFFD FFFD "A"},
        Case{"\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", FFFD FFFD FFFD FFFD FFFD FFFD FFFD FFFD "A"},
        Case{"\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42", FFFD FFFD FFFD FFFD FFFD "A" FFFD FFFD "B"},
        Case{"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", FFFD FFFD FFFD FFFD "A"},
        Case{"\xE2\x82", FFFD}, Case{"\xF0\x9F\x8E", FFFD}, Case{"\xC3", FFFD}));

TEST(FromLatin1Test, EachByteIsACodePoint) {
    EXPECT_EQ(FromLatin1("a\x7F\x80\xE9\xFF"), "a\x7F\u0080\u00e9\u00ff");
}

}  // namespace
}  // namespace kivo::desktop
