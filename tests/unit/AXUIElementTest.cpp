#include <ApplicationServices/ApplicationServices.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "platform/CFRef.h"
#include "tests/support/ScriptedDesktop.h"

namespace kivo::test {
namespace {

using desktop::Status;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr pid_t kProcess = 42;

/// Elements over a desktop that says what a test has it say.
class AXUIElementTest : public testing::Test {
  protected:
    AXUIElementTest() {
        auto scripted = std::make_unique<ScriptedDesktop>();
        mDesktop = scripted.get();
        desktop::Install(std::move(scripted));
        mDesktop->windows[kProcess] = {{.id = 7, .title = "first", .frame = {1, 2, 30, 40}},
                                       {.id = 8, .title = "second", .frame = {}}};
        mApplication = Adopt(AXUIElementCreateApplication(kProcess));
    }
    ~AXUIElementTest() override { desktop::Install(nullptr); }

    ScriptedWindow& Scripted(std::size_t index) { return mDesktop->windows[kProcess].at(index); }

    CFRef<CFArrayRef> Windows() {
        CFTypeRef value = nullptr;
        EXPECT_EQ(AXUIElementCopyAttributeValue(mApplication.Get(), kAXWindowsAttribute, &value),
                  AXError{kAXErrorSuccess});
        return Adopt(static_cast<CFArrayRef>(value));
    }
    /// A window's element that lives longer than its list.
    CFRef<AXUIElementRef> WindowElement(CFIndex index) {
        const auto windows = Windows();
        return Retain(static_cast<AXUIElementRef>(CFArrayGetValueAtIndex(windows.Get(), index)));
    }
    static AXError Copy(const CFRef<AXUIElementRef>& element, CFStringRef name,
                        CFRef<CFTypeRef>& value) {
        return AXUIElementCopyAttributeValue(element.Get(), name, value.Receive());
    }
    static bool IsText(const CFRef<CFTypeRef>& value, CFStringRef text) {
        return value && CFEqual(value.Get(), text);
    }

    ScriptedDesktop* mDesktop = nullptr;
    CFRef<AXUIElementRef> mApplication;
    CFRef<CFTypeRef> mValue;
};

TEST_F(AXUIElementTest, AnApplicationWithoutWindowsHasAnEmptyArray) {
    mApplication = Adopt(AXUIElementCreateApplication(1));
    EXPECT_EQ(CFArrayGetCount(Windows().Get()), 0);
}

TEST_F(AXUIElementTest, AWindowsTitleIsUsedUpByItsFirstRead) {
    const auto window = WindowElement(0);
    Scripted(0).title = "changed";
    mDesktop->calls.clear();
    EXPECT_EQ(Copy(window, kAXTitleAttribute, mValue), AXError{kAXErrorSuccess});
    EXPECT_TRUE(IsText(mValue, CFSTR("first")));
    EXPECT_THAT(mDesktop->calls, IsEmpty());
    EXPECT_EQ(Copy(window, kAXTitleAttribute, mValue), AXError{kAXErrorSuccess});
    EXPECT_TRUE(IsText(mValue, CFSTR("changed")));
    Scripted(0).title = "";
    EXPECT_EQ(Copy(window, kAXTitleAttribute, mValue), AXError{kAXErrorSuccess});
    EXPECT_TRUE(IsText(mValue, CFSTR("")));
    EXPECT_THAT(mDesktop->calls, ElementsAre("title 7", "title 7"));
}

TEST_F(AXUIElementTest, PositionAndSizeAreReadOnlyWhenAskedFor) {
    const auto window = WindowElement(0);
    mDesktop->calls.clear();
    EXPECT_EQ(Copy(window, kAXPositionAttribute, mValue), AXError{kAXErrorSuccess});
    CGPoint position{};
    EXPECT_TRUE(
        AXValueGetValue(static_cast<AXValueRef>(mValue.Get()), kAXValueTypeCGPoint, &position));
    EXPECT_EQ(position.x, 1);
    EXPECT_EQ(position.y, 2);
    Scripted(0).frame.width = 31;
    EXPECT_EQ(Copy(window, kAXSizeAttribute, mValue), AXError{kAXErrorSuccess});
    CGSize size{};
    EXPECT_TRUE(AXValueGetValue(static_cast<AXValueRef>(mValue.Get()), kAXValueTypeCGSize, &size));
    EXPECT_EQ(size.width, 31);
    EXPECT_EQ(size.height, 40);
    EXPECT_THAT(mDesktop->calls, ElementsAre("frame 7", "frame 7"));
}

TEST_F(AXUIElementTest, EachStateOfTheDesktopHasItsError) {
    const std::pair<Status, AXError> errors[] = {{Status::kWindowGone, kAXErrorInvalidUIElement},
                                                 {Status::kNoAnswer, kAXErrorCannotComplete},
                                                 {Status::kRefused, kAXErrorFailure}};
    for (const auto& [status, error] : errors) {
        ScriptedWindow& script = Scripted(0);
        script.titleStatus = script.frameStatus = script.makeMainStatus = status;
        const auto window = WindowElement(0);
        EXPECT_EQ(Copy(window, kAXTitleAttribute, mValue), error);
        EXPECT_EQ(Copy(window, kAXPositionAttribute, mValue), error);
        EXPECT_EQ(Copy(window, kAXSizeAttribute, mValue), error);
        EXPECT_FALSE(mValue) << "no value comes with an error";
        EXPECT_EQ(AXUIElementSetAttributeValue(window.Get(), kAXMainAttribute, kCFBooleanTrue),
                  error);
    }
    mDesktop->listStatus = Status::kNoAnswer;
    EXPECT_EQ(Copy(mApplication, kAXWindowsAttribute, mValue), AXError{kAXErrorCannotComplete});
}

TEST_F(AXUIElementTest, AWindowThatClosedIsAnInvalidElement) {
    const auto window = WindowElement(0);
    mDesktop->windows.clear();
    EXPECT_EQ(Copy(window, kAXSizeAttribute, mValue), AXError{kAXErrorInvalidUIElement});
}

TEST_F(AXUIElementTest, MainCanBeSetToTrueOnly) {
    const auto window = WindowElement(1);
    mDesktop->calls.clear();
    const auto set = [&](CFStringRef name, CFTypeRef value) {
        return AXUIElementSetAttributeValue(window.Get(), name, value);
    };
    EXPECT_EQ(set(kAXMainAttribute, kCFBooleanTrue), AXError{kAXErrorSuccess});
    EXPECT_EQ(set(kAXMainAttribute, kCFBooleanFalse), AXError{kAXErrorIllegalArgument});
    EXPECT_EQ(set(kAXMainAttribute, CFSTR("true")), AXError{kAXErrorIllegalArgument});
    EXPECT_EQ(set(kAXTitleAttribute, CFSTR("new")), AXError{kAXErrorAttributeUnsupported});
    EXPECT_EQ(AXUIElementSetAttributeValue(mApplication.Get(), kAXMainAttribute, kCFBooleanTrue),
              AXError{kAXErrorAttributeUnsupported});
    EXPECT_THAT(mDesktop->calls, ElementsAre("main 8"));
}

TEST_F(AXUIElementTest, RolesAndUnknownAttributes) {
    const auto window = WindowElement(0);
    EXPECT_EQ(Copy(window, kAXRoleAttribute, mValue), AXError{kAXErrorSuccess});
    EXPECT_TRUE(IsText(mValue, CFSTR("AXWindow")));
    EXPECT_EQ(Copy(mApplication, kAXRoleAttribute, mValue), AXError{kAXErrorSuccess});
    EXPECT_TRUE(IsText(mValue, CFSTR("AXApplication")));
    EXPECT_EQ(Copy(window, kAXWindowsAttribute, mValue), AXError{kAXErrorAttributeUnsupported});
    EXPECT_EQ(Copy(mApplication, kAXTitleAttribute, mValue), AXError{kAXErrorAttributeUnsupported});
    EXPECT_EQ(Copy(window, CFSTR("AXNonsense"), mValue), AXError{kAXErrorAttributeUnsupported});
}

TEST_F(AXUIElementTest, NothingIsAnIllegalArgument) {
    const auto window = WindowElement(0);
    EXPECT_EQ(AXUIElementCopyAttributeValue(nullptr, kAXTitleAttribute, mValue.Receive()),
              AXError{kAXErrorIllegalArgument});
    EXPECT_EQ(AXUIElementCopyAttributeValue(window.Get(), nullptr, mValue.Receive()),
              AXError{kAXErrorIllegalArgument});
    EXPECT_EQ(AXUIElementCopyAttributeValue(window.Get(), kAXTitleAttribute, nullptr),
              AXError{kAXErrorIllegalArgument});
    EXPECT_EQ(AXUIElementSetAttributeValue(window.Get(), kAXMainAttribute, nullptr),
              AXError{kAXErrorIllegalArgument});
}

TEST_F(AXUIElementTest, ElementsOfOneWindowAreEqual) {
    const auto one = WindowElement(0);
    const auto again = WindowElement(0);
    const auto other = WindowElement(1);
    EXPECT_NE(one.Get(), again.Get());
    EXPECT_TRUE(CFEqual(one.Get(), again.Get()));
    EXPECT_EQ(CFHash(one.Get()), CFHash(again.Get()));
    EXPECT_FALSE(CFEqual(one.Get(), other.Get()));
    EXPECT_FALSE(CFEqual(one.Get(), mApplication.Get()));
    const auto samePlace = Adopt(AXUIElementCreateApplication(7));
    EXPECT_FALSE(CFEqual(one.Get(), samePlace.Get())) << "a window is no application";
}

}  // namespace
}  // namespace kivo::test
