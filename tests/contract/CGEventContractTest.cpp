// Quartz events as objects.

#include <ApplicationServices/ApplicationServices.h>
#include <gtest/gtest.h>

#include "platform/CFRef.h"

namespace {

using kivo::Adopt;

TEST(CGEvent, KeyboardEventsHaveTypeAndKeyCode) {
    const auto down = Adopt(CGEventCreateKeyboardEvent(nullptr, 0x7E, true));
    EXPECT_EQ(CGEventGetType(down.Get()), kCGEventKeyDown);
    EXPECT_EQ(CGEventGetIntegerValueField(down.Get(), kCGKeyboardEventKeycode), 0x7E);
    EXPECT_EQ(CGEventGetIntegerValueField(down.Get(), kCGKeyboardEventAutorepeat), 0);
    const auto up = Adopt(CGEventCreateKeyboardEvent(nullptr, 0x7E, false));
    EXPECT_EQ(CGEventGetType(up.Get()), kCGEventKeyUp);
}

TEST(CGEvent, FieldsAndFlagsKeepWhatTheyAreSetTo) {
    const auto event = Adopt(CGEventCreateKeyboardEvent(nullptr, 1, true));
    CGEventSetFlags(event.Get(), kCGEventFlagMaskShift | 0x2);
    EXPECT_EQ(CGEventGetFlags(event.Get()), 0x20002u);
    CGEventSetIntegerValueField(event.Get(), kCGKeyboardEventAutorepeat, 1);
    EXPECT_EQ(CGEventGetIntegerValueField(event.Get(), kCGKeyboardEventAutorepeat), 1);
    CGEventSetIntegerValueField(event.Get(), kCGEventSourceUserData, -5);
    EXPECT_EQ(CGEventGetIntegerValueField(event.Get(), kCGEventSourceUserData), -5);
}

TEST(CGEvent, AnEmptyEventIsNull) {
    const auto event = Adopt(CGEventCreate(nullptr));
    EXPECT_EQ(CGEventGetType(event.Get()), kCGEventNull);
    EXPECT_EQ(CGEventGetIntegerValueField(event.Get(), kCGKeyboardEventKeycode), 0);
}

TEST(CGEvent, SourcesKnowTheirState) {
    const auto source = Adopt(CGEventSourceCreate(kCGEventSourceStatePrivate));
    ASSERT_TRUE(source);
    const auto event = Adopt(CGEventCreateKeyboardEvent(source.Get(), 0, true));
    EXPECT_EQ(CGEventGetType(event.Get()), kCGEventKeyDown);
    EXPECT_NE(CFGetTypeID(source.Get()), CFGetTypeID(event.Get()));
    const auto hid = Adopt(CGEventSourceCreate(kCGEventSourceStateHIDSystemState));
    EXPECT_EQ(CGEventSourceGetSourceStateID(hid.Get()), kCGEventSourceStateHIDSystemState);
}

}  // namespace
