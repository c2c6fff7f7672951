#include "tests/support/Text.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using kivo::Adopt;
using kivo::CFRef;
using kivo::test::Text;

CFRef<CFMutableDictionaryRef> EmptyDictionary() {
    return Adopt(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                           &kCFTypeDictionaryValueCallBacks));
}

CFRef<CFNumberRef> Number(double value) {
    return Adopt(CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
}

CFRef<CFNumberRef> Number(int value) {
    return Adopt(CFNumberCreate(nullptr, kCFNumberIntType, &value));
}

TEST(CFArray, KeepsItsValuesInOrderAndRetained) {
    const auto text = Text(u"a value");
    const void* values[] = {text.Get(), kCFBooleanTrue, text.Get()};
    const auto array = Adopt(CFArrayCreate(nullptr, values, 3, &kCFTypeArrayCallBacks));
    ASSERT_EQ(CFArrayGetCount(array.Get()), 3);
    EXPECT_EQ(CFArrayGetValueAtIndex(array.Get(), 0), text.Get());
    EXPECT_EQ(CFArrayGetValueAtIndex(array.Get(), 1), kCFBooleanTrue);
    EXPECT_EQ(CFGetRetainCount(text.Get()), 3);
}

TEST(CFArray, FindsEqualValuesNotOnlyTheSame) {
    const auto array = Adopt(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    CFArrayAppendValue(array.Get(), Text(u"one").Get());
    CFArrayAppendValue(array.Get(), Text(u"two").Get());
    const CFRange all = CFRangeMake(0, 2);
    EXPECT_EQ(CFArrayGetFirstIndexOfValue(array.Get(), all, Text(u"two").Get()), 1);
    EXPECT_EQ(CFArrayGetFirstIndexOfValue(array.Get(), all, CFSTR("three")), kCFNotFound);
    EXPECT_TRUE(CFArrayContainsValue(array.Get(), all, CFSTR("one")));
}

TEST(CFArray, ChangesAndGivesBackWhatItHeld) {
    const auto text = Text(u"held");
    const auto array = Adopt(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    CFArrayAppendValue(array.Get(), text.Get());
    CFArrayInsertValueAtIndex(array.Get(), 0, CFSTR("first"));
    EXPECT_EQ(CFArrayGetValueAtIndex(array.Get(), 1), text.Get());
    CFArrayRemoveValueAtIndex(array.Get(), 1);
    EXPECT_EQ(CFGetRetainCount(text.Get()), 1);
    CFArrayRemoveAllValues(array.Get());
    EXPECT_EQ(CFArrayGetCount(array.Get()), 0);
}

TEST(CFArray, WithoutCallbacksHoldsAnyPointer) {
    int places[2] = {};
    const void* values[] = {&places[0], &places[1]};
    const auto array = Adopt(CFArrayCreate(nullptr, values, 2, nullptr));
    const void* copied[2] = {};
    CFArrayGetValues(array.Get(), CFRangeMake(0, 2), copied);
    EXPECT_EQ(copied[1], &places[1]);
}

TEST(CFArray, EqualArraysHaveEqualValues) {
    const void* values[] = {CFSTR("a"), CFSTR("b")};
    const auto array = Adopt(CFArrayCreate(nullptr, values, 2, &kCFTypeArrayCallBacks));
    const auto copy = Adopt(CFArrayCreateCopy(nullptr, array.Get()));
    const auto shorter = Adopt(CFArrayCreate(nullptr, values, 1, &kCFTypeArrayCallBacks));
    EXPECT_TRUE(CFEqual(array.Get(), copy.Get()));
    EXPECT_EQ(CFHash(array.Get()), CFHash(copy.Get()));
    EXPECT_FALSE(CFEqual(array.Get(), shorter.Get()));
}

TEST(CFArrayDeathTest, AnIndexOutsideEndsTheProcess) {
    const auto array = Adopt(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks));
    EXPECT_DEATH(CFArrayGetValueAtIndex(array.Get(), 0), "");
}

TEST(CFDictionary, GivesNothingForAMissingKey) {
    const auto dictionary = EmptyDictionary();
    const void* untouched = &dictionary;
    EXPECT_EQ(CFDictionaryGetValue(dictionary.Get(), CFSTR("key")), nullptr);
    EXPECT_FALSE(CFDictionaryGetValueIfPresent(dictionary.Get(), CFSTR("key"), &untouched));
    EXPECT_EQ(untouched, &dictionary);
}

TEST(CFDictionary, AddKeepsSetReplacesReplaceNeedsTheKey) {
    const auto dictionary = EmptyDictionary();
    CFDictionaryAddValue(dictionary.Get(), CFSTR("key"), CFSTR("first"));
    CFDictionaryAddValue(dictionary.Get(), CFSTR("key"), CFSTR("second"));
    EXPECT_EQ(CFDictionaryGetValue(dictionary.Get(), CFSTR("key")), CFSTR("first"));
    CFDictionarySetValue(dictionary.Get(), CFSTR("key"), CFSTR("third"));
    EXPECT_EQ(CFDictionaryGetValue(dictionary.Get(), CFSTR("key")), CFSTR("third"));
    CFDictionaryReplaceValue(dictionary.Get(), CFSTR("other"), CFSTR("fourth"));
    EXPECT_EQ(CFDictionaryGetCount(dictionary.Get()), 1);
    CFDictionaryReplaceValue(dictionary.Get(), CFSTR("key"), CFSTR("fifth"));
    EXPECT_EQ(CFDictionaryGetValue(dictionary.Get(), CFSTR("key")), CFSTR("fifth"));
}

TEST(CFDictionary, KeysAreLiteralStringsAndNumbersByValue) {
    const auto dictionary = EmptyDictionary();
    CFDictionarySetValue(dictionary.Get(), Text(u"\u00E9").Get(), kCFBooleanTrue);
    EXPECT_TRUE(CFDictionaryContainsKey(dictionary.Get(), Text(u"\u00E9").Get()));
    EXPECT_FALSE(CFDictionaryContainsKey(dictionary.Get(), Text(u"e\u0301").Get()));
    CFDictionarySetValue(dictionary.Get(), Number(7).Get(), kCFBooleanFalse);
    EXPECT_EQ(CFDictionaryGetValue(dictionary.Get(), Number(7.0).Get()), kCFBooleanFalse);
}

TEST(CFDictionary, RetainsKeysAndValuesAndGivesThemBack) {
    const auto key = Text(u"a key");
    const auto value = Text(u"a value");
    const auto dictionary = EmptyDictionary();
    CFDictionarySetValue(dictionary.Get(), key.Get(), value.Get());
    EXPECT_EQ(CFGetRetainCount(key.Get()), 2);
    EXPECT_EQ(CFGetRetainCount(value.Get()), 2);
    CFDictionaryRemoveValue(dictionary.Get(), key.Get());
    EXPECT_EQ(CFGetRetainCount(key.Get()), 1);
    EXPECT_EQ(CFGetRetainCount(value.Get()), 1);
}

TEST(CFDictionary, OfEqualKeysTheFirstStays) {
    const void* keys[] = {CFSTR("k"), CFSTR("k"), CFSTR("l")};
    const void* values[] = {CFSTR("1"), CFSTR("2"), CFSTR("3")};
    const auto dictionary =
        Adopt(CFDictionaryCreate(nullptr, keys, values, 3, &kCFTypeDictionaryKeyCallBacks,
                                 &kCFTypeDictionaryValueCallBacks));
    EXPECT_EQ(CFDictionaryGetCount(dictionary.Get()), 2);
    EXPECT_EQ(CFDictionaryGetValue(dictionary.Get(), CFSTR("k")), CFSTR("1"));
}

TEST(CFDictionary, HandsOutKeysAndValuesInMatchingOrder) {
    const void* keys[] = {CFSTR("a"), CFSTR("b")};
    const void* values[] = {CFSTR("A"), CFSTR("B")};
    const auto dictionary =
        Adopt(CFDictionaryCreate(nullptr, keys, values, 2, &kCFTypeDictionaryKeyCallBacks,
                                 &kCFTypeDictionaryValueCallBacks));
    const void* allKeys[2] = {};
    const void* allValues[2] = {};
    CFDictionaryGetKeysAndValues(dictionary.Get(), allKeys, allValues);
    EXPECT_EQ(std::set<const void*>(allKeys, allKeys + 2),
              (std::set<const void*>{CFSTR("a"), CFSTR("b")}));
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(CFDictionaryGetValue(dictionary.Get(), allKeys[i]), allValues[i]);
}

TEST(CFDictionary, EqualDictionariesHaveEqualPairs) {
    const auto one = EmptyDictionary();
    CFDictionarySetValue(one.Get(), CFSTR("k"), Text(u"v").Get());
    const auto same = Adopt(CFDictionaryCreateCopy(nullptr, one.Get()));
    EXPECT_TRUE(CFEqual(one.Get(), same.Get()));
    EXPECT_EQ(CFHash(one.Get()), CFHash(same.Get()));
    CFDictionarySetValue(one.Get(), CFSTR("k"), CFSTR("w"));
    EXPECT_FALSE(CFEqual(one.Get(), same.Get()));
}

TEST(CFNumber, GivesItsValueInAnyTypeThatHoldsIt) {
    const SInt64 large = 1LL << 40;
    const auto number = Adopt(CFNumberCreate(nullptr, kCFNumberSInt64Type, &large));
    SInt64 integer = 0;
    double real = 0;
    EXPECT_TRUE(CFNumberGetValue(number.Get(), kCFNumberSInt64Type, &integer));
    EXPECT_EQ(integer, large);
    EXPECT_TRUE(CFNumberGetValue(number.Get(), kCFNumberDoubleType, &real));
    EXPECT_EQ(real, 1099511627776.0);
    EXPECT_FALSE(CFNumberIsFloatType(number.Get()));
}

TEST(CFNumber, SaysWhenSomethingIsLost) {
    SInt32 integer = 0;
    const SInt64 large = 1LL << 40;
    EXPECT_FALSE(CFNumberGetValue(Adopt(CFNumberCreate(nullptr, kCFNumberSInt64Type, &large)).Get(),
                                  kCFNumberSInt32Type, &integer));
    EXPECT_FALSE(CFNumberGetValue(Number(2.5).Get(), kCFNumberSInt32Type, &integer));
    EXPECT_EQ(integer, 2);
}

TEST(CFNumber, ComparesByValue) {
    EXPECT_EQ(CFNumberCompare(Number(2).Get(), Number(2.5).Get(), nullptr), kCFCompareLessThan);
    EXPECT_EQ(CFNumberCompare(Number(3.0).Get(), Number(3).Get(), nullptr), kCFCompareEqualTo);
    EXPECT_TRUE(CFEqual(Number(3.0).Get(), Number(3).Get()));
    EXPECT_EQ(CFHash(Number(3.0).Get()), CFHash(Number(3).Get()));
}

TEST(CFBoolean, HasTwoObjects) {
    EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
    EXPECT_FALSE(CFBooleanGetValue(kCFBooleanFalse));
    EXPECT_FALSE(CFEqual(kCFBooleanTrue, kCFBooleanFalse));
    EXPECT_EQ(CFGetTypeID(kCFBooleanTrue), CFBooleanGetTypeID());
}

}  // namespace
