// Making a tap where no key can be held back.

#include <ApplicationServices/ApplicationServices.h>
#include <gtest/gtest.h>

namespace {

CGEventRef PassAll(CGEventTapProxy, CGEventType, CGEventRef event, void*) {
    return event;
}

TEST(CGEventTap, WithoutPermissionThereIsNone) {
    // The tests run without access to any keyboard (KIVO_KEYBOARD=none), as a process without the
    // permission to monitor input does.
    EXPECT_EQ(CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap, kCGEventTapOptionDefault,
                               0xC00, PassAll, nullptr),
              nullptr);
}

}  // namespace
