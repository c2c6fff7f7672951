// The window list, the comparison of titles, the search and the measuring.

#include "ZYNCommon/DesignedRetention.h"
#include "tests/support/Text.h"
#include "tests/unit/driver/DriverTest.h"

namespace kivo::test {
namespace {

using desktop::Status;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class WindowsTest : public DriverTest {
  protected:
    void SetUp() override { StartDriver(); }

    bool Matches(const char* windowTitle, const char* wanted, bool partial) {
        return driver->MatchWindowTitle(MakeString(windowTitle).Get(), MakeString(wanted).Get(),
                                        partial);
    }

    /// The title of the window that the string form finds; none when it finds none.
    std::optional<std::string> Find(const char* wanted, bool partial) {
        return TitleOf(driver->GetWindowElementWithTitle(MakeString(wanted).Get(), partial));
    }
    std::optional<std::string> FindText(const std::string& wanted, bool partial) {
        return TitleOf(driver->GetWindowElementWithTitle(wanted, partial));
    }

    static std::optional<std::string> TitleOf(AXUIElementRef window) {
        if (window == nullptr) return std::nullopt;
        CFTypeRef value = nullptr;
        EXPECT_EQ(AXUIElementCopyAttributeValue(window, kAXTitleAttribute, &value),
                  kAXErrorSuccess);
        return Utf8Text(Adopt(static_cast<CFStringRef>(value)).Get());
    }
};

// Comparison

TEST_F(WindowsTest, WholeComparisonWantsEqualTitles) {
    EXPECT_TRUE(Matches("Mixer", "Mixer", false));
    EXPECT_FALSE(Matches("Mixer 2", "Mixer", false));
    EXPECT_FALSE(Matches("Mixer", "Mixer 2", false));
}

TEST_F(WindowsTest, PartialComparisonWantsTheTextAnywhere) {
    EXPECT_TRUE(Matches("Mixer 2", "Mixer", true));
    EXPECT_TRUE(Matches("The Mixer", "Mixer", true));
    EXPECT_FALSE(Matches("Mix", "Mixer", true));
}

TEST_F(WindowsTest, CaseCounts) {
    EXPECT_FALSE(Matches("Untitled", "untitled", false));
    EXPECT_FALSE(Matches("Untitled", "untitled", true));
}

TEST_F(WindowsTest, CanonicallyEquivalentTitlesAreEqual) {
    EXPECT_TRUE(Matches("Caf\u00e9", "Cafe\u0301", false));
    EXPECT_TRUE(Matches("Le Caf\u00e9 noir", "Cafe\u0301", true));
    EXPECT_FALSE(Matches("Cafe\u0301", "Cafe", true));
}

TEST_F(WindowsTest, EmptyTextIsContainedInNothing) {
    EXPECT_FALSE(Matches("Mixer", "", true));
    EXPECT_FALSE(Matches("", "", true));
    EXPECT_TRUE(Matches("", "", false));
}

TEST_F(WindowsTest, AbsentWindowTitleEqualsEverythingAndContainsNothing) {
    const auto wanted = MakeString("Mixer");
    EXPECT_TRUE(driver->MatchWindowTitle(nullptr, wanted.Get(), false));
    EXPECT_FALSE(driver->MatchWindowTitle(nullptr, wanted.Get(), true));
    EXPECT_TRUE(driver->MatchWindowTitle(nullptr, nullptr, false));
    EXPECT_FALSE(driver->MatchWindowTitle(nullptr, nullptr, true));
}

TEST_F(WindowsTest, AbsentWantedTitleMatchesNoTitle) {
    const auto title = MakeString("Mixer");
    EXPECT_FALSE(driver->MatchWindowTitle(title.Get(), nullptr, false));
    EXPECT_FALSE(driver->MatchWindowTitle(title.Get(), nullptr, true));
}

// List

TEST_F(WindowsTest, NoProcessInFrontGivesNoListAndAsksNothing) {
    desktop->Activate({-1, "org.remote", false, {}});
    desktop->calls.clear();
    EXPECT_EQ(driver->CopyApplicationWindowList(false, CFSTR("")), nullptr);
    EXPECT_THAT(desktop->calls, IsEmpty());
}

TEST_F(WindowsTest, ListThatCannotBeReadIsNone) {
    ShowWindows({"Mixer"});
    desktop->listStatus = Status::kNoAnswer;
    EXPECT_EQ(driver->CopyApplicationWindowList(false, CFSTR("")), nullptr);
    EXPECT_EQ(Find("Mixer", false), std::nullopt);
    EXPECT_EQ(FindText("Mixer", false), std::nullopt);
}

TEST_F(WindowsTest, EveryRequestReadsTheListAnew) {
    ShowWindows({"Mixer"});
    desktop->calls.clear();
    Find("Mixer", false);
    Find("Mixer", false);
    EXPECT_EQ(std::count(desktop->calls.begin(), desktop->calls.end(), "list 4711"), 2);
}

TEST_F(WindowsTest, DiagnosticsAreWrittenOnRequestOnly) {
    ShowWindows({"Mixer"});
    testing::internal::CaptureStderr();
    CFRelease(driver->CopyApplicationWindowList(false, CFSTR("")));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    CFRelease(driver->CopyApplicationWindowList(true, CFSTR("probe")));
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(log, testing::HasSubstr("CopyApplicationWindowList probe retain count = 1"));

    desktop->listStatus = Status::kNoAnswer;
    testing::internal::CaptureStderr();
    EXPECT_EQ(driver->CopyApplicationWindowList(true, CFSTR("probe")), nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("CopyApplicationWindowList probe "
                                   "AXUIElementCopyAttributeValue err = ffff9d"));
}

// Search by string object

TEST_F(WindowsTest, ApplicationWithoutWindowsFindsNothing) {
    ShowWindows({});
    EXPECT_EQ(Find("Mixer", false), std::nullopt);
    EXPECT_EQ(FindText("Mixer", false), std::nullopt);
    CGPoint position;
    CGSize size;
    EXPECT_FALSE(driver->GetPosAndSizeForWindowName("Mixer", false, position, size));
}

TEST_F(WindowsTest, FirstWindowInListOrderWins) {
    ShowWindows({"Other", "Mixer 1", "Mixer 2"});
    EXPECT_EQ(Find("Mixer", true), "Mixer 1");
    EXPECT_EQ(Find("Mixer 2", false), "Mixer 2");
    EXPECT_EQ(Find("Mixer", false), std::nullopt);
}

TEST_F(WindowsTest, UnreadableTitleEndsTheSearch) {
    ShowWindows({"One", "Two", "Mixer"});
    Window(2).titleStatus = Status::kWindowGone;
    EXPECT_EQ(Find("Mixer", false), std::nullopt);
    EXPECT_EQ(Find("One", false), "One");
}

// Search by text

TEST_F(WindowsTest, TextFormTakesTheFirstWindowForAnyWholeTitle) {
    ShowWindows({"One", "Mixer"});
    EXPECT_EQ(FindText("Mixer", false), "One");
    EXPECT_EQ(FindText("no such title", false), "One");
    EXPECT_EQ(FindText("\xFF\xFE", false), "One");
}

TEST_F(WindowsTest, TextFormFindsNothingForAPartialTitleAfterReadingAll) {
    ShowWindows({"One", "Mixer"});
    const auto before = CountDesignedRetentions(DesignedRetention::kWindowTitle);
    EXPECT_EQ(FindText("Mixer", true), std::nullopt);
    EXPECT_EQ(CountDesignedRetentions(DesignedRetention::kWindowTitle) - before, 2U);
}

TEST_F(WindowsTest, TextFormEndsAtAnUnreadableTitle) {
    ShowWindows({"One", "Mixer"});
    Window(1).titleStatus = Status::kWindowGone;
    EXPECT_EQ(FindText("Mixer", false), std::nullopt);
}

TEST_F(WindowsTest, TextFormKeepsEachTitleItRead) {
    ShowWindows({"One", "Two", "Three"});
    const auto before = CountDesignedRetentions(DesignedRetention::kWindowTitle);
    FindText("Three", false);
    EXPECT_EQ(CountDesignedRetentions(DesignedRetention::kWindowTitle) - before, 1U);
}

TEST_F(WindowsTest, BothFormsGoThroughTheVirtualComparison) {
    class Stubborn : public CZYN_UserSpaceDriver {
      public:
        bool MatchWindowTitle(NSString*, NSString*, bool) override { return false; }
    };
    driver.reset();
    ShowWindows({"Mixer"});
    Stubborn stubborn;
    EXPECT_EQ(stubborn.GetWindowElementWithTitle(CFSTR("Mixer"), false), nullptr);
    EXPECT_EQ(stubborn.GetWindowElementWithTitle(std::string("Mixer"), false), nullptr);
}

// Measuring

TEST_F(WindowsTest, WindowIsMadeMainBeforeItIsMeasured) {
    ShowWindows({"One", "Mixer"});
    desktop->calls.clear();
    CGPoint position;
    CGSize size;
    ASSERT_TRUE(driver->GetPosAndSizeForWindowName("Mixer", false, position, size));
    EXPECT_EQ(desktop->calls,
              (std::vector<std::string>{"list 4711", "main 1", "frame 1", "frame 1"}));
    EXPECT_EQ(position.x, 10);
    EXPECT_EQ(position.y, 11);
    EXPECT_EQ(size.width, 310);
    EXPECT_EQ(size.height, 210);
}

TEST_F(WindowsTest, RefusalToMakeItMainFails) {
    ShowWindows({"One"});
    Window(1).makeMainStatus = Status::kRefused;
    CGPoint position = {1, 2};
    CGSize size = {3, 4};
    EXPECT_FALSE(driver->GetPosAndSizeForWindowName("One", false, position, size));
    EXPECT_EQ(position.x, 1);
    EXPECT_EQ(size.height, 4);
    EXPECT_THAT(desktop->calls, Not(Contains("frame 1")));
}

/// A window whose position can be read and whose size cannot: it closes between the two.
class ClosingDesktop : public desktop::Desktop {
  public:
    std::optional<desktop::Application> FrontApplication() override {
        return desktop::Application{5, "org.closing", false, {}};
    }
    void ObserveActivations(std::function<void(const desktop::Application&)>) override {}
    std::vector<desktop::Application> RunningApplications(const std::string&) override {
        return {};
    }
    Status WindowsOf(pid_t, std::vector<desktop::Window>& windows) override {
        windows.push_back({1, "Closing"});
        return Status::kOk;
    }
    Status Title(desktop::WindowID, std::string&) override { return Status::kWindowGone; }
    Status Frame(desktop::WindowID, desktop::Rect& frame) override {
        frame = {1, 2, 3, 4};
        return ++mReads == 1 ? Status::kOk : Status::kWindowGone;
    }
    Status MakeMain(desktop::WindowID) override { return Status::kOk; }
    std::optional<desktop::Point> Pointer() override { return std::nullopt; }
    std::optional<desktop::Rect> PrimaryScreen() override { return std::nullopt; }

  private:
    int mReads = 0;
};

TEST_F(WindowsTest, SizeThatCannotBeReadLeavesBothOutputsUntouched) {
    driver.reset();
    desktop::Install(std::make_unique<ClosingDesktop>());
    StartDriver();
    CFWorkspace_StartObservingFrontApplication();
    CGPoint position = {10, 20};
    CGSize size = {30, 40};
    EXPECT_FALSE(driver->GetPosAndSizeForWindowName("Closing", false, position, size));
    EXPECT_EQ(position.x, 10);
    EXPECT_EQ(position.y, 20);
    EXPECT_EQ(size.width, 30);
    EXPECT_EQ(size.height, 40);
}

}  // namespace
}  // namespace kivo::test
