// Making strings and reading them in an encoding. Comparing and searching have a file of their own.

#include "tests/support/Text.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace {

using kivo::Adopt;
using kivo::CFRef;
using kivo::test::Text;
using kivo::test::UnitsOf;

CFRef<CFStringRef> FromCString(const char* bytes, CFStringEncoding encoding) {
    return Adopt(CFStringCreateWithCString(nullptr, bytes, encoding));
}

struct Converted {
    bool isWhole;
    std::string text;

    bool operator==(const Converted&) const = default;
};

Converted ToCString(std::u16string_view units, CFStringEncoding encoding, CFIndex size = 64) {
    char buffer[64];
    std::memset(buffer, '~', sizeof buffer);
    const bool isWhole = CFStringGetCString(Text(units).Get(), buffer, size, encoding) != 0;
    return {isWhole, buffer};
}

const Converted kRefused = {false, ""};

TEST(CFStringCreate, TakesValidUtf8) {
    EXPECT_EQ(UnitsOf(FromCString("h\xC3\xA9", kCFStringEncodingUTF8).Get()), u"h\u00E9");
    EXPECT_EQ(UnitsOf(FromCString("\xF0\x9F\x91\x8D", kCFStringEncodingUTF8).Get()), u"\U0001F44D");
    EXPECT_EQ(UnitsOf(FromCString("\xF4\x8F\xBF\xBF", kCFStringEncodingUTF8).Get()), u"\U0010FFFF");
    EXPECT_EQ(UnitsOf(FromCString("", kCFStringEncodingUTF8).Get()), u"");
}

class InvalidUtf8 : public testing::TestWithParam<const char*> {};

TEST_P(InvalidUtf8, MakesNoString) {
    EXPECT_FALSE(FromCString(GetParam(), kCFStringEncodingUTF8));
}

INSTANTIATE_TEST_SUITE_P(CFStringCreate, InvalidUtf8,
                         testing::Values("\xFF",                      // never a byte of UTF-8
                                         "a\x80",                     // a trail byte alone
                                         "\xC3", "\xE2\x82",          // cut off
                                         "\xC0\xAF", "\xE0\x80\xAF",  // overlong
                                         "\xF0\x80\x80\xAF",          // overlong
                                         "\xED\xA0\x80",              // an encoded surrogate
                                         "\xF4\x90\x80\x80",          // past U+10FFFF
                                         "\xF5\x80\x80\x80"));

TEST(CFStringCreate, DropsAByteOrderMark) {
    EXPECT_EQ(UnitsOf(FromCString("\xEF\xBB\xBFx", kCFStringEncodingUTF8).Get()), u"x");
}

TEST(CFStringCreate, NormalisesNothing) {
    EXPECT_EQ(UnitsOf(FromCString("e\xCC\x81", kCFStringEncodingUTF8).Get()), u"e\u0301");
}

TEST(CFStringCreate, TakesAnyByteOfMacRomanAndLatin1) {
    EXPECT_EQ(UnitsOf(FromCString("\x8E\xDB\xF0\xDE", kCFStringEncodingMacRoman).Get()),
              u"\u00E9\u20AC\uF8FF\uFB01");
    EXPECT_EQ(UnitsOf(FromCString("\x80\xE9\xFF", kCFStringEncodingISOLatin1).Get()),
              u"\u0080\u00E9\u00FF");
}

TEST(CFStringCreate, RefusesBytesThatWindowsLatin1LeavesOut) {
    EXPECT_EQ(UnitsOf(FromCString("\x80\xE9", kCFStringEncodingWindowsLatin1).Get()),
              u"\u20AC\u00E9");
    EXPECT_FALSE(FromCString("\x81", kCFStringEncodingWindowsLatin1));
}

TEST(CFStringCreate, ReadsUtf16AfterItsByteOrderMark) {
    const std::array<UInt8, 4> little = {0xFF, 0xFE, 0xE9, 0x00};
    const std::array<UInt8, 4> big = {0xFE, 0xFF, 0x00, 0xE9};
    for (const auto& bytes : {little, big}) {
        const auto string =
            Adopt(CFStringCreateWithBytes(nullptr, bytes.data(), 4, kCFStringEncodingUTF16, true));
        EXPECT_EQ(UnitsOf(string.Get()), u"\u00E9");
    }
}

TEST(CFStringCreate, KeepsUnpairedSurrogatesAndNul) {
    const std::u16string units = {0xD800, 0, 0xDC00};
    EXPECT_EQ(UnitsOf(Text(units).Get()), units);
}

TEST(CFStringCreate, SubstringTakesUnits) {
    const auto whole = Text(u"abcdef");
    const auto part = Adopt(CFStringCreateWithSubstring(nullptr, whole.Get(), CFRangeMake(2, 3)));
    EXPECT_EQ(UnitsOf(part.Get()), u"cde");
    EXPECT_EQ(CFStringGetCharacterAtIndex(whole.Get(), 5), u'f');
}

TEST(CFStringGetCString, NeedsRoomForTheTextAndItsNul) {
    EXPECT_EQ(ToCString(u"abc", kCFStringEncodingUTF8, 4), (Converted{true, "abc"}));
    EXPECT_EQ(ToCString(u"abc", kCFStringEncodingUTF8, 3), kRefused);
    EXPECT_EQ(ToCString(u"h\u00E9", kCFStringEncodingUTF8, 3), kRefused);
    EXPECT_EQ(ToCString(u"", kCFStringEncodingUTF8, 1), (Converted{true, ""}));
}

TEST(CFStringGetCString, WritesNothingWithoutABuffer) {
    char untouched = '~';
    EXPECT_FALSE(CFStringGetCString(CFSTR("a"), &untouched, 0, kCFStringEncodingUTF8));
    EXPECT_EQ(untouched, '~');
}

TEST(CFStringGetCString, CopiesAnEmbeddedNulAndCallsItSuccess) {
    EXPECT_EQ(ToCString({u"a\0b", 3}, kCFStringEncodingUTF8), (Converted{true, "a"}));
}

TEST(CFStringGetCString, Utf8RefusesUnpairedSurrogatesOnly) {
    const std::u16string unpaired = {u'a', 0xD800};
    EXPECT_EQ(ToCString(unpaired, kCFStringEncodingUTF8), kRefused);
    EXPECT_EQ(ToCString(u"\uFFFE\uFFFF", kCFStringEncodingUTF8),
              (Converted{true, "\xEF\xBF\xBE\xEF\xBF\xBF"}));
    EXPECT_EQ(ToCString(u"\U0001F44D", kCFStringEncodingUTF8),
              (Converted{true, "\xF0\x9F\x91\x8D"}));
}

TEST(CFStringGetCString, AsciiRefusesWhatIsBeyond) {
    EXPECT_EQ(ToCString(u"az~", kCFStringEncodingASCII), (Converted{true, "az~"}));
    EXPECT_EQ(ToCString(u"\u0080", kCFStringEncodingASCII), kRefused);
}

TEST(CFStringGetCString, MacRomanHasItsLetters) {
    EXPECT_EQ(ToCString(u"\u00E9\u03A9\u20AC\uF8FF\uFB01", kCFStringEncodingMacRoman),
              (Converted{true, "\x8E\xBD\xDB\xF0\xDE"}));
    EXPECT_EQ(ToCString(u"\u00A4", kCFStringEncodingMacRoman), kRefused);
    EXPECT_EQ(ToCString(u"\u65E5", kCFStringEncodingMacRoman), kRefused);
}

TEST(CFStringGetCString, MacRomanComposesFirst) {
    EXPECT_EQ(ToCString(u"e\u0301", kCFStringEncodingMacRoman), (Converted{true, "\x8E"}));
    EXPECT_EQ(ToCString(u"ae\u0301z", kCFStringEncodingMacRoman), (Converted{true, "a\x8Ez"}));
    EXPECT_EQ(ToCString(u"\u2126", kCFStringEncodingMacRoman), (Converted{true, "\xBD"}));
    EXPECT_EQ(ToCString(u"x\u0301", kCFStringEncodingMacRoman), kRefused);
}

TEST(CFStringGetBytes, CountsConvertedUnitsAndBytes) {
    const auto string = Text(u"Zynw\u00E9rks");
    std::array<UniChar, 255> name{};
    CFIndex used = 0;
    const CFIndex count =
        CFStringGetBytes(string.Get(), CFRangeMake(0, 8), kCFStringEncodingUnicode, 0, false,
                         reinterpret_cast<UInt8*>(name.data()), sizeof name, &used);
    EXPECT_EQ(count, 8);
    EXPECT_EQ(used, 16);
    EXPECT_EQ(name[4], 0x00E9);
}

TEST(CFStringGetBytes, StopsWhereTheBufferOrTheEncodingEnds) {
    const auto string = Text(u"ab\u65E5cd");
    UInt8 bytes[8] = {};
    CFIndex used = 0;
    EXPECT_EQ(CFStringGetBytes(string.Get(), CFRangeMake(0, 5), kCFStringEncodingUTF8, 0, false,
                               bytes, 4, &used),
              2);
    EXPECT_EQ(used, 2);
    EXPECT_EQ(CFStringGetBytes(string.Get(), CFRangeMake(0, 5), kCFStringEncodingASCII, 0, false,
                               bytes, 8, &used),
              2);
    EXPECT_EQ(CFStringGetBytes(string.Get(), CFRangeMake(0, 5), kCFStringEncodingASCII, '?', false,
                               bytes, 8, &used),
              5);
    EXPECT_EQ(std::memcmp(bytes, "ab?cd", 5), 0);
}

TEST(CFStringGetBytes, OnlyCountsWithoutABuffer) {
    CFIndex used = 0;
    EXPECT_EQ(CFStringGetBytes(Text(u"\u65E5\u672C").Get(), CFRangeMake(0, 2),
                               kCFStringEncodingUTF8, 0, false, nullptr, 0, &used),
              2);
    EXPECT_EQ(used, 6);
}

TEST(CFString, MaximumSizesHoldForAnyText) {
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF8), 30);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingMacRoman), 10);
}

TEST(CFString, EqualityAndHashAreLiteral) {
    const auto composed = Text(u"\u00E9");
    const auto pieces = Text(u"e\u0301");
    EXPECT_FALSE(CFEqual(composed.Get(), pieces.Get()));
    EXPECT_TRUE(CFEqual(composed.Get(), Text(u"\u00E9").Get()));
    EXPECT_EQ(CFHash(composed.Get()), CFHash(Text(u"\u00E9").Get()));
}

std::u16string Formatted(CFStringRef format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const auto text =
        Adopt(CFStringCreateWithFormatAndArguments(nullptr, nullptr, format, arguments));
    va_end(arguments);
    return UnitsOf(text.Get());
}

TEST(CFStringCreateWithFormat, PrintsObjects) {
    EXPECT_EQ(Formatted(CFSTR("<%@>"), Text(u"\u65E5").Get()), u"<\u65E5>");
    EXPECT_EQ(Formatted(CFSTR("version %@\n"), nullptr), u"version (null)\n");
    const int number = 42;
    const auto object = Adopt(CFNumberCreate(nullptr, kCFNumberIntType, &number));
    EXPECT_EQ(Formatted(CFSTR("%@"), object.Get()), u"42");
}

TEST(CFStringCreateWithFormat, PrintsAsTheCLibrary) {
    EXPECT_EQ(Formatted(CFSTR("%d|%5d|%-5d|%05d"), -3, 42, 42, 42), u"-3|   42|42   |00042");
    EXPECT_EQ(Formatted(CFSTR("%.8x|%lX|%llu"), 0xBEEFU, 255UL, 1ULL << 63),
              u"0000beef|FF|9223372036854775808");
    EXPECT_EQ(Formatted(CFSTR("%.2f|%g|%c|%%"), 1.005, 0.5, 'x'), u"1.00|0.5|x|%");
    EXPECT_EQ(Formatted(CFSTR("%*d|%.*f"), 4, 7, 1, 2.25), u"   7|2.2");
    EXPECT_EQ(Formatted(CFSTR("%s|%C"), "plain", 0x65E5), u"plain|\u65E5");
    EXPECT_EQ(Formatted(CFSTR("%ld%@"), 5L, CFSTR("!")), u"5!");
}

TEST(CFStringCreateWithFormat, ConvenienceFormGivesTheSame) {
    const auto text =
        Adopt(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%d-%@"), 7, CFSTR("x")));
    EXPECT_EQ(UnitsOf(text.Get()), u"7-x");
}

}  // namespace
