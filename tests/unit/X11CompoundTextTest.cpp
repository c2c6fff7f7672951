#include <gtest/gtest.h>

#include "platform/linux/desktop/x11/CompoundText.h"

namespace kivo::desktop::x11 {
namespace {

using namespace std::string_literals;

struct Case {
    const char* name;
    std::string bytes;
    std::string text;
};

class X11CompoundTextTest : public testing::TestWithParam<Case> {};

TEST_P(X11CompoundTextTest, IsReadAsUTF8) {
    EXPECT_EQ(FromCompoundText(GetParam().bytes), GetParam().text);
}

// The bytes for Chinese, Japanese and Korean are those of the national standards.
INSTANTIATE_TEST_SUITE_P(
    Cases, X11CompoundTextTest,
    testing::Values(Case{"Empty", "", ""}, Case{"ASCII", "plain\ttext", "plain\ttext"},
                    Case{"Latin1", "caf\xE9", "caf\u00e9"},
                    Case{"Latin2", "a\x1B-B\xB1\x1B-A\xE9", "a\u0105\u00e9"},
                    Case{"Greek", "\x1B-F\xE1\xE2", "\u03b1\u03b2"},
                    Case{"Cyrillic", "\x1B-L\xB0\xB1", "\u0410\u0411"},
                    Case{"JapaneseLower", "a\x1B$(B\x46\x7C\x4B\x5C\x1B(Bz", "a\u65e5\u672cz"},
                    Case{"JapaneseUpper", "a\x1B$)B\xC6\xFC\xCB\xDCz", "a\u65e5\u672cz"},
                    Case{"Katakana", "\x1B)I\xB1\xB2", "\uff71\uff72"},
                    Case{"Chinese", "\x1B$(A\x56\x50\x4E\x44", "\u4e2d\u6587"},
                    Case{"Korean", "\x1B$(C\x47\x51\x31\x5B", "\ud55c\uae00"},
                    Case{"UTF8", "a\x1B%G\u65e5\xFF\x1B%@\xE9", "a\u65e5\ufffd\u00e9"},
                    Case{"UTF8WithoutEnd", "\x1B%G\u65e5", "\u65e5"},
                    Case{"UnknownSet", "a\x1B$(G!!!!\x1B(Bz", "a\ufffdz"},
                    Case{"ExtendedSegment", "a\x1B%/1\x80\x86xyz\x02"s + "12z", "a\ufffdz"},
                    Case{"CutExtendedSegment", "a\x1B%/1", "a\ufffd"},
                    Case{"Direction", "a\x9B\x31]b\x9B]c", "abc"}, Case{"CutEscape", "a\x1B", "a"},
                    Case{"CutDesignation", "a\x1B$(", "a"},
                    Case{"HalfACharacter", "\x1B$(B\x46", "\ufffd"}),
    [](const auto& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace kivo::desktop::x11
