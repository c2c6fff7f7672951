// Comparison and search by canonical equivalence against a model that tries everything: its own
// small table of decompositions, mark ordering by sorting, and every range of the text in turn.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <vector>

#include "tests/support/Text.h"

namespace {

using kivo::test::Text;
using Characters = std::u32string;

/// The characters that texts are made of, with what is needed of their properties, from
/// UnicodeData.txt and the grapheme break properties of Unicode 15.
struct Property {
    char32_t character;
    Characters decomposition;
    int combiningClass;
    bool extends;
};

const std::vector<Property>& Alphabet() {
    static const std::vector<Property> alphabet = {
        {U'a', U"", 0, false},
        {U'e', U"", 0, false},
        {U'z', U"", 0, false},
        {U'A', U"", 0, false},
        {0x00E9, U"e\u0301", 0, false},
        {0x00E1, U"a\u0301", 0, false},
        {0x1EA1, U"a\u0323", 0, false},
        {0x1EB9, U"e\u0323", 0, false},
        {0x1EC7, U"e\u0323\u0302", 0, false},
        {0x00C5, U"A\u030A", 0, false},
        {0x212B, U"A\u030A", 0, false},
        {0x0301, U"", 230, true},
        {0x0302, U"", 230, true},
        {0x030A, U"", 230, true},
        {0x0323, U"", 220, true},
        {0x0327, U"", 202, true},
        {0x304B, U"", 0, false},
        {0x304C, U"\u304B\u3099", 0, false},
        {0x3099, U"", 8, true},
        {0x1100, U"", 0, false},
        {0x1161, U"", 0, false},
        {0x11A8, U"", 0, false},
        {0xAC00, U"\u1100\u1161", 0, false},
        {0xAC01, U"\u1100\u1161\u11A8", 0, false},
        {0x200D, U"", 0, false},
        {0x200C, U"", 0, true},
        {0x034F, U"", 0, true},
        {0xFE0F, U"", 0, true},
        {0x0915, U"", 0, false},
        {0x0937, U"", 0, false},
        {0x094D, U"", 9, true},
        {0x093F, U"", 0, false},
        {0x1F468, U"", 0, false},
        {0x1F3FD, U"", 0, true},
        {0x1F1E9, U"", 0, false},
        {0xFF41, U"", 0, false},
        {0xD800, U"", 0, false},
        {0xDC00, U"", 0, false},
        {U'\r', U"", 0, false},
        {U'\n', U"", 0, false},
    };
    return alphabet;
}

const Property& PropertyOf(char32_t character) {
    const auto found = std::ranges::find(Alphabet(), character, &Property::character);
    if (found == Alphabet().end()) throw std::logic_error("a character beyond the alphabet");
    return *found;
}

Characters Decompose(const Characters& text) {
    Characters result;
    for (const char32_t character : text) {
        const Characters& parts = PropertyOf(character).decomposition;
        result += parts.empty() ? Characters(1, character) : parts;
    }
    const auto isMark = [](char32_t c) { return PropertyOf(c).combiningClass != 0; };
    for (auto run = result.begin(); run != result.end();) {
        run = std::find_if(run, result.end(), isMark);
        const auto end = std::find_if_not(run, result.end(), isMark);
        std::stable_sort(run, end, [](char32_t one, char32_t other) {
            return PropertyOf(one).combiningClass < PropertyOf(other).combiningClass;
        });
        run = end;
    }
    return result;
}

/// One character each for unpaired surrogates too.
Characters FromUnits(const std::u16string& units) {
    Characters text;
    for (size_t i = 0; i < units.size(); ++i) {
        const bool isPair = i + 1 < units.size() && (units[i] & 0xFC00) == 0xD800 &&
                            (units[i + 1] & 0xFC00) == 0xDC00;
        text += isPair ? 0x10000U + ((units[i] & 0x3FFU) << 10) + (units[i + 1] & 0x3FFU)
                       : char32_t{units[i]};
        i += isPair ? 1 : 0;
    }
    return text;
}

std::u16string ToUnits(const Characters& text) {
    std::u16string units;
    for (const char32_t character : text) {
        if (character < 0x10000) {
            units += static_cast<char16_t>(character);
        } else {
            units += static_cast<char16_t>(0xD7C0 + (character >> 10));
            units += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
        }
    }
    return units;
}

bool IsJamo(char32_t character) {
    return character == 0x1100 || character == 0x1161 || character == 0x11A8;
}

bool IsLetter(char32_t character) {
    constexpr std::u32string_view kLetters =
        U"aezA\u00E9\u00E1\u1EA1\u1EB9\u1EC7\u00C5\u212B\u304B\u304C\u1100\u1161\u11A8\uAC00"
        U"\uAC01\u0915\u0937\uFF41";
    return kLetters.find(character) != kLetters.npos;
}

/// Whether a match that ends between these two would cut a character as the user sees it. Only the
/// pairs that the alphabet has need an answer.
bool Joins(const Characters& text, size_t end) {
    const char32_t last = text[end - 1];
    const char32_t next = text[end];
    if (PropertyOf(next).extends) return true;
    const bool mayJoin = last == 0x094D || last == 0x200D || last == 0x034F || IsJamo(last);
    if (!mayJoin) return false;
    const bool isSpacingMarkOrJoiner = next == 0x093F || next == 0x200D;
    if (isSpacingMarkOrJoiner) return true;
    if (last == 0x1100 && (next == 0x1100 || next == 0x1161 || next == 0xAC00 || next == 0xAC01))
        return true;
    if (last == 0x1161 && (next == 0x1161 || next == 0x11A8)) return true;
    if (last == 0x11A8 && next == 0x11A8) return true;
    if (last == 0x094D && IsLetter(next)) return true;
    // A joiner ties two pictures, with extending marks before it.
    if (last != 0x200D || next != 0x1F468) return false;
    size_t before = end - 1;
    while (before > 0 && PropertyOf(text[before - 1]).extends)
        --before;
    return before > 0 && text[before - 1] == 0x1F468;
}

struct Found {
    size_t begin;
    size_t end;

    bool operator==(const Found&) const = default;
};

/// The first or last match, by trying every range.
std::optional<Found> FindInModel(const Characters& text, const Characters& wanted,
                                 bool isBackward) {
    std::optional<Found> best;
    for (size_t begin = 0; begin < text.size(); ++begin) {
        for (size_t end = begin + 1; end <= text.size(); ++end) {
            if (Decompose(text.substr(begin, end - begin)) != Decompose(wanted)) continue;
            if (end < text.size() && Joins(text, end)) continue;
            if (!best || isBackward) best = Found{begin, end};
        }
    }
    if (!best) return best;
    return Found{ToUnits(text.substr(0, best->begin)).size(),
                 ToUnits(text.substr(0, best->end)).size()};
}

class RandomText {
  public:
    explicit RandomText(unsigned seed) : mEngine(seed) {}

    Characters Make(size_t longest) {
        Characters text;
        for (size_t left = Pick(longest + 1); left > 0; --left)
            text += Alphabet()[Pick(Alphabet().size())].character;
        // Two unpaired surrogates side by side may make a pair, which the alphabet must then have.
        const Characters joined = FromUnits(ToUnits(text));
        const bool isKnown = std::ranges::all_of(joined, [](char32_t character) {
            return std::ranges::count(Alphabet(), character, &Property::character) > 0;
        });
        return isKnown ? joined : Characters();
    }
    /// A text equivalent to a part of another, or any other.
    Characters MakeWanted(const Characters& text) {
        if (text.empty() || Pick(4) == 0) return Make(3);
        const size_t begin = Pick(text.size());
        Characters part = text.substr(begin, 1 + Pick(4));
        if (Pick(2) == 0) part = Decompose(part);
        const Characters joined = FromUnits(ToUnits(part));
        return joined == part ? part : Characters();
    }
    size_t Pick(size_t count) {
        return std::uniform_int_distribution<size_t>(0, count - 1)(mEngine);
    }

  private:
    std::mt19937 mEngine;
};

std::string Describe(const Characters& text) {
    std::string shown;
    for (const char32_t character : text) {
        char number[16];
        std::snprintf(number, sizeof number, "%04X ", static_cast<unsigned>(character));
        shown += number;
    }
    return shown;
}

constexpr int kRounds = 20000;

TEST(CFStringModel, PlainSearchFindsWhatTryingEverythingFinds) {
    RandomText random(20240501);
    int foundCount = 0;
    for (int round = 0; round < kRounds; ++round) {
        const Characters text = random.Make(8);
        const Characters wanted = random.MakeWanted(text);
        const bool isBackward = random.Pick(2) == 0;
        const std::optional<Found> expected =
            wanted.empty() ? std::nullopt : FindInModel(text, wanted, isBackward);
        const CFStringCompareFlags options =
            kCFCompareNonliteral | (isBackward ? CFStringCompareFlags{kCFCompareBackwards} : 0);
        const CFRange found =
            CFStringFind(Text(ToUnits(text)).Get(), Text(ToUnits(wanted)).Get(), options);
        std::optional<Found> actual;
        if (found.location != kCFNotFound)
            actual = Found{static_cast<size_t>(found.location),
                           static_cast<size_t>(found.location + found.length)};
        ASSERT_EQ(actual, expected) << "text " << Describe(text) << "wanted " << Describe(wanted)
                                    << (isBackward ? "backwards" : "");
        foundCount += expected ? 1 : 0;
    }
    EXPECT_GT(foundCount, kRounds / 5);
}

TEST(CFStringModel, PlainComparisonOrdersByDecomposedCodePoints) {
    RandomText random(20240502);
    int equalCount = 0;
    for (int round = 0; round < kRounds; ++round) {
        const Characters one = random.Make(5);
        const Characters other = random.Pick(3) == 0 ? Decompose(one) : random.Make(5);
        if (FromUnits(ToUnits(other)) != other) continue;
        const int order = Decompose(one).compare(Decompose(other));
        const CFIndex expected = order < 0 ? -1 : order > 0;
        ASSERT_EQ(CFStringCompare(Text(ToUnits(one)).Get(), Text(ToUnits(other)).Get(),
                                  kCFCompareNonliteral),
                  expected)
            << Describe(one) << "and " << Describe(other);
        equalCount += expected == 0 ? 1 : 0;
    }
    EXPECT_GT(equalCount, kRounds / 5);
}

TEST(CFStringModel, LiteralSearchIsThatOfUnits) {
    RandomText random(20240503);
    for (int round = 0; round < kRounds; ++round) {
        const std::u16string text = ToUnits(random.Make(8));
        const std::u16string wanted = ToUnits(random.Make(2));
        const size_t expected = wanted.empty() ? text.npos : text.find(wanted);
        const CFRange found = CFStringFind(Text(text).Get(), Text(wanted).Get(), 0);
        ASSERT_EQ(found.location,
                  expected == text.npos ? CFIndex{kCFNotFound} : static_cast<CFIndex>(expected));
    }
}

}  // namespace
