#include <ApplicationServices/ApplicationServices.h>
#include <gtest/gtest.h>

#include "platform/CFRef.h"

namespace {

using kivo::Adopt;

TEST(AXValue, KeepsACopyOfWhatItIsMadeFrom) {
    CGPoint point{1.5, -2};
    const auto value = Adopt(AXValueCreate(kAXValueTypeCGPoint, &point));
    point = {9, 9};
    ASSERT_TRUE(value);
    EXPECT_EQ(AXValueGetType(value.Get()), AXValueType{kAXValueTypeCGPoint});
    CGPoint read{};
    ASSERT_TRUE(AXValueGetValue(value.Get(), kAXValueTypeCGPoint, &read));
    EXPECT_EQ(read.x, 1.5);
    EXPECT_EQ(read.y, -2);
}

TEST(AXValue, HoldsEachType) {
    const CGSize size{3, 4};
    const CGRect rect{{1, 2}, {3, 4}};
    const CFRange range = CFRangeMake(5, 6);
    const AXError error = kAXErrorNoValue;
    CGSize sizeRead{};
    CGRect rectRead{};
    CFRange rangeRead{};
    AXError errorRead = kAXErrorSuccess;
    const auto sizeValue = Adopt(AXValueCreate(kAXValueTypeCGSize, &size));
    const auto rectValue = Adopt(AXValueCreate(kAXValueTypeCGRect, &rect));
    const auto rangeValue = Adopt(AXValueCreate(kAXValueTypeCFRange, &range));
    const auto errorValue = Adopt(AXValueCreate(kAXValueTypeAXError, &error));
    EXPECT_TRUE(AXValueGetValue(sizeValue.Get(), kAXValueTypeCGSize, &sizeRead));
    EXPECT_TRUE(AXValueGetValue(rectValue.Get(), kAXValueTypeCGRect, &rectRead));
    EXPECT_TRUE(AXValueGetValue(rangeValue.Get(), kAXValueTypeCFRange, &rangeRead));
    EXPECT_TRUE(AXValueGetValue(errorValue.Get(), kAXValueTypeAXError, &errorRead));
    EXPECT_EQ(sizeRead.height, 4);
    EXPECT_EQ(rectRead.size.width, 3);
    EXPECT_EQ(rangeRead.length, 6);
    EXPECT_EQ(errorRead, AXError{kAXErrorNoValue});
}

TEST(AXValue, GivesNothingOfAnotherType) {
    const CGPoint point{1, 2};
    const auto value = Adopt(AXValueCreate(kAXValueTypeCGPoint, &point));
    CGSize size{7, 8};
    EXPECT_FALSE(AXValueGetValue(value.Get(), kAXValueTypeCGSize, &size));
    EXPECT_EQ(size.width, 7) << "untouched";
    EXPECT_EQ(size.height, 8);
}

TEST(AXValue, IsAnObject) {
    const CGPoint point{1, 2};
    const CGSize size{1, 2};
    const auto one = Adopt(AXValueCreate(kAXValueTypeCGPoint, &point));
    const auto same = Adopt(AXValueCreate(kAXValueTypeCGPoint, &point));
    const auto other = Adopt(AXValueCreate(kAXValueTypeCGSize, &size));
    EXPECT_EQ(CFGetTypeID(one.Get()), AXValueGetTypeID());
    EXPECT_EQ(CFGetRetainCount(one.Get()), 1);
    EXPECT_TRUE(CFEqual(one.Get(), same.Get()));
    EXPECT_EQ(CFHash(one.Get()), CFHash(same.Get()));
    EXPECT_FALSE(CFEqual(one.Get(), other.Get()));
}

TEST(AXUIElement, IsAnObjectForWhateverProcess) {
    const auto one = Adopt(AXUIElementCreateApplication(1));
    const auto same = Adopt(AXUIElementCreateApplication(1));
    const auto other = Adopt(AXUIElementCreateApplication(99999999));
    ASSERT_TRUE(one);
    ASSERT_TRUE(other);
    EXPECT_EQ(CFGetTypeID(one.Get()), AXUIElementGetTypeID());
    EXPECT_TRUE(CFEqual(one.Get(), same.Get()));
    EXPECT_FALSE(CFEqual(one.Get(), other.Get()));
}

}  // namespace
