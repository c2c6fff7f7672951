// Start-up and teardown, the version, the send routine.

#include <sys/wait.h>
#include <unistd.h>

#include "tests/unit/driver/DriverTest.h"

namespace kivo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Another process that owns the daemon's port until this object goes.
class OtherDaemon {
  public:
    OtherDaemon() {
        int ready[2];
        int stop[2];
        if (pipe(ready) != 0 || pipe(stop) != 0) std::abort();
        mProcess = fork();
        if (mProcess == 0) HoldPort(ready[1], stop);
        close(ready[1]);
        close(stop[0]);
        mStop = stop[1];
        char owned = 0;
        if (read(ready[0], &owned, 1) != 1) ADD_FAILURE() << "the other process has no port";
        close(ready[0]);
    }
    ~OtherDaemon() {
        close(mStop);
        waitpid(mProcess, nullptr, 0);
    }
    OtherDaemon(const OtherDaemon&) = delete;
    OtherDaemon& operator=(const OtherDaemon&) = delete;

  private:
    [[noreturn]] static void HoldPort(int ready, const int* stop) {
        close(stop[1]);
        const CACFLocalMessagePort port(
            CFSTR("Kivo_MessagePort_KIVB"),
            [](CFMessagePortRef, SInt32, CFDataRef, void*) -> CFDataRef { return nullptr; },
            nullptr, nullptr);
        if (port.IsValid()) (void)!write(ready, "", 1);
        char ignored;
        (void)!read(stop[0], &ignored, 1);
        _exit(0);
    }

    pid_t mProcess = -1;
    int mStop = -1;
};

using LifecycleTest = DriverTest;

TEST_F(LifecycleTest, PortNameTakenLeavesTheDaemonIdleAndSilent) {
    const OtherDaemon other;
    StartControlCenter();
    StartDriver();
    Run(1.0);
    EXPECT_THAT(CapturedLogTexts(), IsEmpty());
    EXPECT_THAT(controlCenter->received, IsEmpty());
    EXPECT_FALSE(Probe().HasTimer());
    EXPECT_EQ(Probe().RemotePort(), nullptr);
    EXPECT_THAT(sequencer.calls, IsEmpty());
    EXPECT_EQ(CZYN_UserSpaceDriver::Driver(), driver.get());
    driver.reset();
    Run(0.1);
    EXPECT_THAT(controlCenter->received, IsEmpty());
}

TEST_F(LifecycleTest, PortNameTakenStillFollowsTheFrontApplication) {
    const OtherDaemon other;
    StartDriver();
    desktop->Activate({77, "org.late", false, {}});
    EXPECT_EQ(CFWorkspace_CurrentFrontApplicationPID(), 77U);
}

TEST_F(LifecycleTest, NoControlCenterIsLoggedOnce) {
    StartDriver();
    EXPECT_THAT(CapturedLogTexts(), ElementsAre("remotePort is not valid"));
    EXPECT_EQ(CapturedLog()[0].priority, 0);
}

TEST_F(LifecycleTest, EverySendWithoutAControlCenterReturnsMinusTwoAndIsLogged) {
    StartDriver();
    CapturedLog().clear();
    EXPECT_EQ(driver->SendMessage(kMessageStatus, nullptr, 0, false, nullptr), -2);
    CFDataRef untouched = nullptr;
    EXPECT_EQ(driver->SendMessage(kMessageStatus, nullptr, 0, true, &untouched), -2);
    EXPECT_EQ(untouched, nullptr);
    char expected[100];
    std::snprintf(expected, sizeof expected,
                  "SendMessage no remote port (%p) or remote port invalid", Probe().RemotePort());
    EXPECT_THAT(CapturedLogTexts(), ElementsAre(expected, expected));
}

TEST_F(LifecycleTest, WantedReplyWithoutAPlaceSendsWithoutWaiting) {
    StartControlCenter();
    StartDriver();
    CapturedLog().clear();
    EXPECT_EQ(driver->SendMessage(kMessageStatus, nullptr, 0, true, nullptr), 0);
    EXPECT_THAT(CapturedLogTexts(), ElementsAre("SendMessage (no reply) returned 00000000"));
}

TEST_F(LifecycleTest, NullBytesOfLengthZeroSendAnEmptyMessage) {
    StartControlCenter();
    StartDriver();
    EXPECT_EQ(driver->SendMessage(kMessageStatus, nullptr, 0, false, nullptr), 0);
    Run(0.01);
    EXPECT_THAT(controlCenter->PayloadsOf(kMessageStatus), ElementsAre(Bytes{}));
}

TEST_F(LifecycleTest, ReplyIsHandedOverAndLogged) {
    StartControlCenter();
    controlCenter->replies[kMessageStatus] = {1, 2, 3};
    StartDriver();
    CapturedLog().clear();
    CFDataRef reply = nullptr;
    EXPECT_EQ(driver->SendMessage(kMessageStatus, nullptr, 0, true, &reply), 0);
    EXPECT_EQ(BytesOf(Adopt(reply).Get()), (Bytes{1, 2, 3}));
    EXPECT_THAT(CapturedLogTexts(), ElementsAre("SendMessage (get reply) returned 00000000"));
}

TEST_F(LifecycleTest, UnansweredSendGivesUpAfterTenMilliseconds) {
    StartControlCenter();
    controlCenter->StopListening();
    StartDriver();
    CapturedLog().clear();
    CFDataRef reply = nullptr;
    const LoopInstant before = clock.Now();
    EXPECT_EQ(driver->SendMessage(kMessageStatus, nullptr, 0, true, &reply), -2);
    EXPECT_EQ(clock.Now() - before, std::chrono::milliseconds(10));
    EXPECT_EQ(reply, nullptr);
    EXPECT_THAT(CapturedLogTexts(), ElementsAre("SendMessage (get reply) returned fffffffe"));
}

TEST_F(LifecycleTest, BundleWithoutAVersionGivesUnknownVersionAndLogsTheNilPlaceholder) {
    testing::internal::CaptureStderr();
    StartDriver();
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("CZYN_UserSpaceDriver () version (null)"));
    EXPECT_EQ(Probe().Version(), "unknown version");
}

TEST_F(LifecycleTest, DriverIsReachableWhileItLives) {
    EXPECT_EQ(CZYN_UserSpaceDriver::Driver(), nullptr);
    StartDriver();
    EXPECT_EQ(CZYN_UserSpaceDriver::Driver(), driver.get());
    driver.reset();
    EXPECT_EQ(CZYN_UserSpaceDriver::Driver(), nullptr);
}

TEST_F(LifecycleTest, EntriesDoNothingWithoutADriver) {
    EXPECT_EQ(
        CZYN_UserSpaceDriver::MessageCallbackEntry(nullptr, kMessagePointer, nullptr, nullptr),
        nullptr);
    CZYN_UserSpaceDriver::TimeoutCounterEntry(nullptr, nullptr);
}

TEST_F(LifecycleTest, TeardownStopsTheTicksAndGivesThePortBack) {
    StartControlCenter();
    StartDriver();
    Run(0.2);
    driver.reset();
    EXPECT_EQ(CFMessagePortCreateRemote(nullptr, CFSTR("Kivo_MessagePort_KIVB")), nullptr);
    Run(0.1);  // the good-bye
    controlCenter->received.clear();
    Run(1.0);
    EXPECT_THAT(controlCenter->received, IsEmpty());
}

}  // namespace
}  // namespace kivo::test
