// Comparing and searching: literal by default, canonical equivalence with kCFCompareNonliteral,
// which is the Foundation's plain comparison and search.

#include "tests/support/Text.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using kivo::test::Text;

constexpr CFStringCompareFlags kLiteral = 0;
constexpr CFStringCompareFlags kPlain = kCFCompareNonliteral;

struct Range {
    CFIndex location;
    CFIndex length;

    bool operator==(const Range&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Range& range) {
    return stream << "{" << range.location << ", " << range.length << "}";
}

constexpr Range kAbsent = {kCFNotFound, 0};

Range Find(std::u16string_view text, std::u16string_view wanted, CFStringCompareFlags options) {
    const CFRange found = CFStringFind(Text(text).Get(), Text(wanted).Get(), options);
    return {found.location, found.length};
}

CFComparisonResult Compare(std::u16string_view one, std::u16string_view other,
                           CFStringCompareFlags options) {
    return CFStringCompare(Text(one).Get(), Text(other).Get(), options);
}

struct Comparison {
    const char* name;
    std::u16string one;
    std::u16string other;
    CFComparisonResult literal;
    CFComparisonResult plain;
};

void PrintTo(const Comparison& comparison, std::ostream* stream) {
    *stream << comparison.name;
}

constexpr CFComparisonResult kLess = kCFCompareLessThan;
constexpr CFComparisonResult kEqual = kCFCompareEqualTo;
constexpr CFComparisonResult kGreater = kCFCompareGreaterThan;

class CFStringCompareTable : public testing::TestWithParam<Comparison> {};

TEST_P(CFStringCompareTable, OrdersLiterallyAndPlainly) {
    const Comparison& given = GetParam();
    EXPECT_EQ(Compare(given.one, given.other, kLiteral), given.literal);
    EXPECT_EQ(Compare(given.one, given.other, kPlain), given.plain);
    EXPECT_EQ(Compare(given.other, given.one, kLiteral), -given.literal);
    EXPECT_EQ(Compare(given.other, given.one, kPlain), -given.plain);
}

INSTANTIATE_TEST_SUITE_P(
    CFString, CFStringCompareTable,
    testing::Values(Comparison{"Same", u"Mixer", u"Mixer", kEqual, kEqual},
                    Comparison{"CaseMatters", u"Untitled", u"untitled", kLess, kLess},
                    Comparison{"ComposedAndPieces", u"e\u0301", u"\u00E9", kLess, kEqual},
                    Comparison{"OrderOfMarks", u"a\u0301\u0323", u"a\u0323\u0301", kLess, kEqual},
                    Comparison{"AngstromSign", u"\u212B", u"\u00C5", kGreater, kEqual},
                    Comparison{"HangulAndJamo", u"\uAC01", u"\u1100\u1161\u11A8", kGreater, kEqual},
                    Comparison{"AccentSortsAsMark", u"z", u"\u00E9", kLess, kGreater},
                    Comparison{"MarkMakesLonger", u"e", u"\u00E9", kLess, kLess},
                    Comparison{"EmptyFirst", u"", u"a", kLess, kLess},
                    Comparison{"PrefixFirst", u"Mixer", u"Mixer 2", kLess, kLess},
                    Comparison{"CodePointsNotUnits", u"\uFF41", u"\U0001F468", kGreater, kLess},
                    Comparison{"SharpS", u"\u00DF", u"ss", kGreater, kGreater},
                    Comparison{"JoinerIsNotIgnored", u"a\u200D", u"a", kGreater, kGreater},
                    Comparison{"ZeroWidthSpaceIsNotIgnored", u"a\u200B", u"a", kGreater, kGreater},
                    Comparison{"SoftHyphenIsNotIgnored", u"a\u00AD", u"a", kGreater, kGreater},
                    Comparison{"VariationSelectorIsNotIgnored", u"a\uFE0F", u"a", kGreater,
                               kGreater},
                    Comparison{"LigatureIsItself", u"\uFB01", u"fi", kGreater, kGreater},
                    Comparison{"FullwidthIsItself", u"\uFF21", u"A", kGreater, kGreater}),
    [](const auto& given) { return given.param.name; });

TEST(CFStringCompare, IgnoringCaseFoldsFully) {
    constexpr CFStringCompareFlags kIgnoring = kCFCompareCaseInsensitive;
    EXPECT_EQ(Compare(u"UNTITLED", u"untitled", kIgnoring), kEqual);
    EXPECT_EQ(Compare(u"\u00DF", u"SS", kIgnoring), kEqual);
    EXPECT_EQ(Compare(u"\u00DF", u"ss", kIgnoring | kPlain), kEqual);
    EXPECT_EQ(Compare(u"E\u0301", u"\u00E9", kIgnoring | kPlain), kEqual);
    EXPECT_NE(Compare(u"E\u0301", u"\u00E9", kIgnoring), kEqual);
}

TEST(CFStringCompare, ARangeIsComparedWithTheWholeOther) {
    const auto text = Text(u"xx\u00E9yy");
    EXPECT_EQ(
        CFStringCompareWithOptions(text.Get(), Text(u"e\u0301").Get(), CFRangeMake(2, 1), kPlain),
        kEqual);
    EXPECT_EQ(CFStringCompareWithOptions(text.Get(), CFSTR("xx"), CFRangeMake(0, 2), kLiteral),
              kEqual);
    EXPECT_EQ(CFStringCompareWithOptions(text.Get(), CFSTR("xx"), CFRangeMake(0, 1), kLiteral),
              kLess);
}

TEST(CFStringFind, NothingIsNeverFound) {
    for (const CFStringCompareFlags options :
         {kLiteral, kPlain, kPlain | kCFCompareBackwards, kPlain | kCFCompareAnchored,
          CFStringCompareFlags{kCFCompareCaseInsensitive}}) {
        EXPECT_EQ(Find(u"abc", u"", options), kAbsent);
        EXPECT_EQ(Find(u"", u"", options), kAbsent);
        EXPECT_EQ(Find(u"", u"a", options), kAbsent);
    }
}

TEST(CFStringFind, FailureLeavesTheRangeAlone) {
    CFRange untouched = CFRangeMake(7, 9);
    EXPECT_FALSE(
        CFStringFindWithOptions(CFSTR("abc"), CFSTR("x"), CFRangeMake(0, 3), kPlain, &untouched));
    EXPECT_EQ(untouched.location, 7);
    EXPECT_EQ(untouched.length, 9);
    EXPECT_TRUE(
        CFStringFindWithOptions(CFSTR("abc"), CFSTR("b"), CFRangeMake(0, 3), kPlain, nullptr));
}

TEST(CFStringFind, ArangeLimitsTheSearchAndCountsFromTheStart) {
    CFRange found;
    ASSERT_TRUE(
        CFStringFindWithOptions(CFSTR("abcabc"), CFSTR("b"), CFRangeMake(2, 4), kPlain, &found));
    EXPECT_EQ(found.location, 4);
    EXPECT_FALSE(
        CFStringFindWithOptions(CFSTR("abcabc"), CFSTR("c"), CFRangeMake(3, 2), kPlain, &found));
}

TEST(CFStringFind, AMarkBeyondTheRangeIsNotSeen) {
    const auto text = Text(u"e\u0301");
    EXPECT_TRUE(
        CFStringFindWithOptions(text.Get(), CFSTR("e"), CFRangeMake(0, 1), kPlain, nullptr));
}

TEST(CFStringFind, LiteralSearchTakesUnits) {
    EXPECT_EQ(Find(u"e\u0301", u"e", kLiteral), (Range{0, 1}));
    EXPECT_EQ(Find(u"e\u0301", u"\u00E9", kLiteral), kAbsent);
    EXPECT_EQ(Find(u"Mixer 2", u"Mixer", kLiteral), (Range{0, 5}));
    EXPECT_EQ(Find(u"Mixer 2", u"mixer", kLiteral), kAbsent);
}

TEST(CFStringFind, EquivalentTextIsFoundWithItsOwnLength) {
    EXPECT_EQ(Find(u"e\u0301", u"\u00E9", kPlain), (Range{0, 2}));
    EXPECT_EQ(Find(u"caf\u00E9s", u"e\u0301", kPlain), (Range{3, 1}));
    EXPECT_EQ(Find(u"a\u0301\u0323", u"a\u0323\u0301", kPlain), (Range{0, 3}));
    EXPECT_EQ(Find(u"x\u212Bx", u"A\u030A", kPlain), (Range{1, 1}));
}

struct Cluster {
    const char* name;
    std::u16string text;
    std::u16string wanted;
    Range found;
};

void PrintTo(const Cluster& cluster, std::ostream* stream) {
    *stream << cluster.name;
}

class CFStringFindTable : public testing::TestWithParam<Cluster> {};

TEST_P(CFStringFindTable, EndsOnlyBetweenCharacters) {
    EXPECT_EQ(Find(GetParam().text, GetParam().wanted, kPlain), GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(
    CFString, CFStringFindTable,
    testing::Values(
        Cluster{"LetterBeforeItsAccent", u"e\u0301", u"e", kAbsent},
        Cluster{"SearchGoesOn", u"e\u0301e", u"e", {2, 1}},
        Cluster{"BeforeVariationSelector", u"a\uFE0F", u"a", kAbsent},
        Cluster{"Keycap", u"1\uFE0F\u20E3", u"1", kAbsent},
        Cluster{"SkinTone", u"\U0001F44D\U0001F3FD", u"\U0001F44D", kAbsent},
        Cluster{"KanaVoicingMark", u"\u304B\u3099", u"\u304B", kAbsent},
        Cluster{"BeforeVirama", u"\u0915\u094D\u0937", u"\u0915", kAbsent},
        Cluster{"PartOfTheMarks", u"a\u0301\u0323", u"a\u0301", kAbsent},
        Cluster{"MarkAloneInPieces", u"e\u0301", u"\u0301", {1, 1}},
        Cluster{"MarkAloneInComposed", u"\u00E9", u"\u0301", kAbsent},
        Cluster{"LetterInComposed", u"\u00E9", u"e", kAbsent},
        Cluster{"BeforeSpacingVowel", u"\u0915\u093F", u"\u0915", {0, 1}},
        Cluster{"BeforeThaiSaraAm", u"\u0E01\u0E33", u"\u0E01", {0, 1}},
        Cluster{"LineFeedOfPair", u"\r\n", u"\n", {1, 1}},
        Cluster{"CarriageReturnOfPair", u"\r\n", u"\r", {0, 1}},
        Cluster{"HalfAFlag", u"\U0001F1E9\U0001F1EA", u"\U0001F1E9", {0, 2}},
        Cluster{"PersonBeforeJoiner", u"\U0001F468\u200D\U0001F469", u"\U0001F468", {0, 2}},
        Cluster{"SyllableInItsJamo", u"\u1100\u1161\u11A8", u"\uAC00", kAbsent},
        Cluster{"SyllableInLonger", u"\uAC01", u"\uAC00", kAbsent},
        Cluster{"WholeSyllableInJamo", u"\u1100\u1161\u11A8", u"\uAC01", {0, 3}},
        Cluster{"SyllableBeforeAnother", u"\u1100\u1161\u1100\u1161", u"\uAC00", {0, 2}},
        Cluster{"LigatureIsItself", u"\uFB01", u"fi", kAbsent}),
    [](const auto& given) { return given.param.name; });

TEST(CFStringFind, BackwardsGivesTheLastMatch) {
    constexpr CFStringCompareFlags kBack = kCFCompareBackwards;
    EXPECT_EQ(Find(u"abcabc", u"bc", kBack), (Range{4, 2}));
    EXPECT_EQ(Find(u"e\u0301 \u00E9 e", u"\u00E9", kPlain | kBack), (Range{3, 1}));
    EXPECT_EQ(Find(u"aaa", u"aa", kPlain | kBack), (Range{1, 2}));
}

TEST(CFStringFind, AnchoredTakesTheStartOrTheEnd) {
    constexpr CFStringCompareFlags kStart = kCFCompareAnchored;
    constexpr CFStringCompareFlags kEnd = kCFCompareAnchored | kCFCompareBackwards;
    for (const CFStringCompareFlags mode : {kLiteral, kPlain}) {
        EXPECT_EQ(Find(u"abcab", u"ab", mode | kStart), (Range{0, 2}));
        EXPECT_EQ(Find(u"xab", u"ab", mode | kStart), kAbsent);
        EXPECT_EQ(Find(u"abcab", u"ab", mode | kEnd), (Range{3, 2}));
        EXPECT_EQ(Find(u"abx", u"ab", mode | kEnd), kAbsent);
    }
    EXPECT_EQ(Find(u"\u00E9e\u0301", u"\u00E9", kPlain | kEnd), (Range{1, 2}));
    EXPECT_EQ(Find(u"e\u0301x", u"e", kPlain | kStart), kAbsent);
}

TEST(CFStringFind, IgnoringCaseFoldsFully) {
    constexpr CFStringCompareFlags kIgnoring = kCFCompareCaseInsensitive;
    EXPECT_EQ(Find(u"The MIXER", u"mixer", kIgnoring), (Range{4, 5}));
    EXPECT_EQ(Find(u"x\uFB01x", u"FI", kIgnoring), (Range{1, 1}));
    EXPECT_EQ(Find(u"stra\u00DFe", u"SS", kIgnoring), (Range{4, 1}));
    EXPECT_EQ(Find(u"stra\u00DFe", u"s", kIgnoring | kCFCompareBackwards), (Range{0, 1}));
}

}  // namespace
