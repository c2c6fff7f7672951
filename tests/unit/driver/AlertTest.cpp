// The request for the accessibility permission at start-up.

#include <stdexcept>

#include "ZYNCommon/DesignedRetention.h"
#include "tests/unit/driver/DriverTest.h"

namespace kivo::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr pid_t kControlCenter = 99;

class AlertTest : public DriverTest {
  protected:
    void RunControlCenter(const std::vector<std::string>& titles,
                          pid_t processID = kControlCenter) {
        desktop->running.push_back({processID, kControlCenterBundleIdentifier, true, {}});
        auto& windows = desktop->windows[processID];
        for (const std::string& title : titles)
            windows.push_back({windows.size() + 1, title, {}});
    }

    /// What was asked of the desktop, from the look for the control center on.
    std::vector<std::string> CallsOfAlert() {
        driver->TriggerAXAlert();
        desktop->calls.clear();
        driver->TriggerAXAlert();
        return desktop->calls;
    }

    std::size_t WindowsKept() {
        const auto before = CountDesignedRetentions(DesignedRetention::kAlertWindow);
        driver->TriggerAXAlert();
        return CountDesignedRetentions(DesignedRetention::kAlertWindow) - before;
    }

    const std::string look = std::string("running ") + kControlCenterBundleIdentifier;
};

TEST_F(AlertTest, NothingIsAskedWhenTheControlCenterIsNotRunning) {
    StartDriver();
    EXPECT_THAT(CallsOfAlert(), ElementsAre(look));
}

TEST_F(AlertTest, OnlyTheFirstInstanceIsExamined) {
    RunControlCenter({"Window"}, 50);
    RunControlCenter({"Window"}, 51);
    StartDriver();
    EXPECT_THAT(CallsOfAlert(), Contains("list 50"));
    EXPECT_THAT(CallsOfAlert(), Not(Contains("list 51")));
}

TEST_F(AlertTest, WindowTitledWindowIsMeasured) {
    RunControlCenter({"Preferences", "Window", "Third"});
    StartDriver();
    EXPECT_THAT(CallsOfAlert(), ElementsAre(look, "list 99", "frame 2", "frame 2"));
    EXPECT_EQ(WindowsKept(), 1U);
}

TEST_F(AlertTest, WithoutSuchAWindowTheLastIsMeasured) {
    RunControlCenter({"Preferences", "window", "Window 2"});
    StartDriver();
    EXPECT_THAT(CallsOfAlert(), ElementsAre(look, "list 99", "frame 3", "frame 3"));
    EXPECT_EQ(WindowsKept(), 2U);
}

TEST_F(AlertTest, ControlCenterWithoutWindowsIsNotMeasured) {
    RunControlCenter({});
    StartDriver();
    EXPECT_THAT(CallsOfAlert(), ElementsAre(look, "list 99"));
}

TEST_F(AlertTest, UnreadableTitleEndsItAndKeepsWhatWasExamined) {
    RunControlCenter({"Preferences", "Gone", "Window"});
    desktop->windows[kControlCenter][1].titleStatus = desktop::Status::kWindowGone;
    StartDriver();
    EXPECT_THAT(CallsOfAlert(), Not(Contains("frame 3")));
    EXPECT_EQ(WindowsKept(), 1U);
}

TEST_F(AlertTest, RefusedListEndsItSilently) {
    RunControlCenter({"Window"});
    desktop->listStatus = desktop::Status::kNoAnswer;
    StartControlCenter();
    StartDriver();
    EXPECT_THAT(CallsOfAlert(), ElementsAre(look, "list 99"));
    EXPECT_THAT(CapturedLogTexts(), IsEmpty());
}

TEST_F(AlertTest, ComesOnceAtTheStart) {
    StartDriver();
    Run(1.0);
    EXPECT_EQ(std::count(desktop->calls.begin(), desktop->calls.end(), look), 1);
}

TEST_F(AlertTest, ExceptionIsLoggedOnceAndSurvived) {
    class Throwing : public CZYN_UserSpaceDriver {
      public:
        bool MatchWindowTitle(NSString*, NSString*, bool) override {
            throw std::runtime_error("raised inside");
        }
    };
    StartControlCenter();
    Throwing throwing;
    RunControlCenter({"Window"});
    CapturedLog().clear();
    const auto kept = CountDesignedRetentions(DesignedRetention::kAlertWindow);
    throwing.TriggerAXAlert();
    EXPECT_EQ(CountDesignedRetentions(DesignedRetention::kAlertWindow) - kept, 1U);
    EXPECT_THAT(CapturedLogTexts(), ElementsAre("EXCEPTION in TriggerAXAlert ()"));
    EXPECT_EQ(CapturedLog()[0].priority, 0);
    Run(0.15);
    EXPECT_THAT(controlCenter->Codes(), Contains(kMessageLanguage));
}

}  // namespace
}  // namespace kivo::test
