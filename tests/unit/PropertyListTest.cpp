// What is this system's own about property lists: limits against hostile files, and where libplist
// reads otherwise than the platform (docs/core-foundation.md lists the differences).

#include <CoreFoundation/PropertyListLimits.h>
#include <CoreFoundation/XMLNesting.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/support/Text.h"

namespace {

using kivo::Adopt;
using kivo::CFRef;
using kivo::test::Utf8Text;

CFRef<CFPropertyListRef> Parse(std::string_view bytes) {
    const auto data = Adopt(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                         static_cast<CFIndex>(bytes.size())));
    return Adopt(CFPropertyListCreateFromXMLData(nullptr, data.Get(), 0, nullptr));
}

std::string Repeat(std::string_view text, size_t count) {
    std::string result;
    for (size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

std::string BigEndian(size_t value, int byteCount) {
    std::string bytes;
    for (int shift = 8 * (byteCount - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
}

/// A binary property list of the objects, the first of which is the top.
std::string Binary(const std::vector<std::string>& objects) {
    std::string bytes = "bplist00";
    std::string offsets;
    for (const std::string& object : objects) {
        offsets += BigEndian(bytes.size(), 4);
        bytes += object;
    }
    const size_t table = bytes.size();
    return bytes + offsets + std::string(6, '\0') + "\x04\x02" + BigEndian(objects.size(), 8) +
           BigEndian(0, 8) + BigEndian(table, 8);
}

/// Arrays of arrays, `depth` of them.
std::string BinaryChain(size_t depth) {
    std::vector<std::string> objects;
    for (size_t i = 1; i < depth; ++i)
        objects.push_back("\xA1" + BigEndian(i, 2));
    objects.emplace_back("\xA0");
    return Binary(objects);
}

TEST(PropertyListLimits, DeepNestingIsReadUpToTheLimit) {
    constexpr size_t kDepth = kivo::kDeepestPropertyList;
    EXPECT_TRUE(
        Parse("<plist>" + Repeat("<array>", kDepth) + Repeat("</array>", kDepth) + "</plist>"));
    EXPECT_TRUE(Parse(Repeat("(", kDepth) + Repeat(")", kDepth)));
    EXPECT_TRUE(Parse(BinaryChain(kDepth)));
}

TEST(PropertyListLimits, DeeperNestingIsRefusedWhateverItsForm) {
    for (const size_t depth : {kivo::kDeepestPropertyList + 2, size_t{60000}}) {
        EXPECT_FALSE(
            Parse("<plist>" + Repeat("<array>", depth) + Repeat("</array>", depth) + "</plist>"));
        EXPECT_FALSE(Parse("<plist>" + Repeat("<dict><key>k</key>", depth)));
        EXPECT_FALSE(Parse(Repeat("(", depth) + Repeat(")", depth)));
        EXPECT_FALSE(Parse(Repeat("{a=", depth)));
        EXPECT_FALSE(Parse(BinaryChain(depth)));
    }
}

TEST(PropertyListLimits, ClosingTagsInCommentsHideNoDepth) {
    EXPECT_FALSE(kivo::IsXMLNestedWithinLimit(Repeat("<array><!-- </array> -->", 1000)));
    EXPECT_FALSE(kivo::IsXMLNestedWithinLimit(Repeat("<array><![CDATA[</array>]]>", 1000)));
    EXPECT_FALSE(kivo::IsXMLNestedWithinLimit(Repeat("<array a=\"</array>\">", 1000)));
    EXPECT_TRUE(kivo::IsXMLNestedWithinLimit(Repeat("<array></array>", 1000)));
    EXPECT_TRUE(kivo::IsXMLNestedWithinLimit(Repeat("<array/>", 1000)));
}

TEST(PropertyListLimits, SharedObjectsAreNotCopiedWithoutEnd) {
    std::vector<std::string> objects;
    for (size_t i = 1; i <= 60; ++i)
        objects.push_back("\xA2" + BigEndian(i, 2) + BigEndian(i, 2));
    objects.emplace_back("\x09");
    EXPECT_FALSE(Parse(Binary(objects)));
}

TEST(PropertyListLimits, ASharedObjectIsReadInEachPlace) {
    const auto list = Parse(Binary({"\xA2" + BigEndian(1, 2) + BigEndian(1, 2), "\x51x"}));
    ASSERT_TRUE(list);
    const auto array = static_cast<CFArrayRef>(list.Get());
    ASSERT_EQ(CFArrayGetCount(array), 2);
    for (CFIndex i = 0; i < 2; ++i)
        EXPECT_EQ(Utf8Text(static_cast<CFStringRef>(CFArrayGetValueAtIndex(array, i))), "x");
}

TEST(PropertyListLimits, CyclesAndWildReferencesAreRefused) {
    EXPECT_FALSE(Parse(Binary({"\xA1" + BigEndian(0, 2)})));
    EXPECT_FALSE(Parse(Binary({"\xA1" + BigEndian(1, 2), "\xA1" + BigEndian(0, 2)})));
    EXPECT_FALSE(Parse(Binary({"\xA1" + BigEndian(9, 2)})));
    EXPECT_FALSE(Parse(Binary({"\xAF\x13" + std::string(8, '\xFF')})));
    EXPECT_FALSE(Parse("bplist00"));
}

TEST(BinaryPropertyList, HoldsEachKindOfObject) {
    const auto list = Parse(
        Binary({"\xA8" + BigEndian(1, 2) + BigEndian(2, 2) + BigEndian(3, 2) + BigEndian(4, 2) +
                    BigEndian(5, 2) + BigEndian(6, 2) + BigEndian(7, 2) + BigEndian(8, 2),
                "\x08", "\x10\xFF", "\x13" + std::string(8, '\xFF'),
                std::string("\x22\x40\x20\0\0", 5), std::string("\x33\x40\x20\0\0\0\0\0\0", 9),
                "\x42\x01\x02", std::string("\x61\x65\xE5", 3), "\x5F\x10\x10sixteen letters!"}));
    ASSERT_TRUE(list);
    const auto description = Adopt(CFCopyDescription(list.Get()));
    EXPECT_EQ(Utf8Text(description.Get()),
              "(false, 255, -1, 2.5, 2001-01-01 00:00:08 +0000, <0102>, \xE6\x97\xA5, "
              "sixteen letters!)");
}

TEST(BinaryPropertyList, RefusesWhatIsCutOffOrUnknown) {
    for (const std::string object : {"\x12\x01", "\x33\x01", "\x45zz", "\x55zz", "\x65zz",
                                     "\x80\x01", "\x14", "\x51\xE9", "\x0F", "\xC0", "\x5F\x51"})
        EXPECT_FALSE(Parse(Binary({object}))) << testing::PrintToString(object);
}

TEST(BinaryPropertyList, KeysAreStringsAndMayHoldNul) {
    EXPECT_FALSE(Parse(Binary({"\xD1" + BigEndian(1, 2) + BigEndian(1, 2), "\x10\x05"})));
    const auto list = Parse(Binary({"\xD1" + BigEndian(1, 2) + BigEndian(1, 2), std::string("\x53"
                                                                                            "a\0b",
                                                                                            4)}));
    ASSERT_TRUE(list);
    EXPECT_EQ(CFDictionaryGetCount(static_cast<CFDictionaryRef>(list.Get())), 1);
}

TEST(PropertyListDifferences, ASecondTopObjectIsIgnored) {
    const auto list = Parse("<plist><string>a</string><string>b</string></plist>");
    ASSERT_TRUE(list);
    EXPECT_EQ(Utf8Text(static_cast<CFStringRef>(list.Get())), "a");
}

TEST(PropertyListDifferences, AKeyWithoutAValueIsIgnored) {
    const auto list = Parse("<plist><dict><key>a</key></dict></plist>");
    ASSERT_TRUE(list);
    EXPECT_EQ(CFDictionaryGetCount(static_cast<CFDictionaryRef>(list.Get())), 0);
}

TEST(PropertyListDifferences, XmlInUtf16IsReadByItsByteOrderMark) {
    const auto list = Parse(std::string("\xFE\xFF\0<\0t\0r\0u\0e\0/\0>", 16));
    EXPECT_EQ(list.Get(), kCFBooleanTrue);
}

}  // namespace
