#include "tests/support/Text.h"

#include <gtest/gtest.h>

namespace {

using kivo::Adopt;
using kivo::CFRef;
using kivo::test::Text;

TEST(CFBaseDeathTest, RetainReleaseAndEqualOfNothingEndTheProcess) {
    EXPECT_DEATH(CFRetain(nullptr), "");
    EXPECT_DEATH(CFRelease(nullptr), "");
    EXPECT_DEATH(CFEqual(nullptr, CFSTR("x")), "");
}

TEST(CFBase, AnObjectIsBornWithOneReference) {
    const auto data = Adopt(CFDataCreate(nullptr, nullptr, 0));
    EXPECT_EQ(CFGetRetainCount(data.Get()), 1);
    const CFRef<CFDataRef> other = data;
    EXPECT_EQ(CFGetRetainCount(data.Get()), 2);
}

TEST(CFBase, RetainReturnsItsObject) {
    const auto data = Adopt(CFDataCreate(nullptr, nullptr, 0));
    const auto again = Adopt(CFRetain(data.Get()));
    EXPECT_EQ(again.Get(), data.Get());
}

TEST(CFBase, TheLastReleaseGivesBackWhatTheObjectHeld) {
    const auto held = Text(u"a text that is no constant");
    const void* values[] = {held.Get()};
    CFArrayRef array = CFArrayCreate(nullptr, values, 1, &kCFTypeArrayCallBacks);
    CFRetain(array);
    CFRelease(array);
    EXPECT_EQ(CFGetRetainCount(held.Get()), 2);
    CFRelease(array);
    EXPECT_EQ(CFGetRetainCount(held.Get()), 1);
}

TEST(CFBase, ConstantsOutliveAnyRelease) {
    CFStringRef constant = CFSTR("lives for ever");
    for (int i = 0; i < 10; ++i)
        CFRelease(constant);
    EXPECT_EQ(CFStringGetLength(constant), 14);
    CFRelease(kCFBooleanTrue);
    EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
}

TEST(CFBase, EqualLiteralsAreOneConstant) {
    EXPECT_EQ(CFSTR("one literal"), CFSTR("one literal"));
    EXPECT_NE(CFSTR("one literal"), CFSTR("another"));
}

TEST(CFBase, ObjectsOfTwoTypesAreNeverEqual) {
    EXPECT_FALSE(CFEqual(CFSTR("1"), kCFBooleanTrue));
    EXPECT_NE(CFGetTypeID(CFSTR("1")), CFGetTypeID(kCFBooleanTrue));
    EXPECT_EQ(CFGetTypeID(CFSTR("1")), CFStringGetTypeID());
}

}  // namespace
