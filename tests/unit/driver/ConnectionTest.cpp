// Announcements, the watchdog's tick and the status request.

#include "tests/unit/driver/DriverTest.h"

namespace kivo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

desktop::Application WithSignature(pid_t processID, const std::string& signature) {
    return {processID, "org.example.signed", true, {{"CFBundleSignature", signature}}};
}

desktop::Application WithBundleID(pid_t processID, const std::string& bundleID) {
    return {processID, bundleID, true, {}};
}

class ConnectionTest : public DriverTest {
  protected:
    /// Starts both ends with an application in front and lets the first tick pass.
    void StartWithFront(const desktop::Application& application) {
        desktop->front = application;
        StartControlCenter();
        StartDriver();
        Run(0.15);
        controlCenter->received.clear();
    }
};

TEST_F(ConnectionTest, ConnectIsAnnouncedOnceWithTheIdentity) {
    StartControlCenter();
    StartDriver();
    Run(1.0);
    EXPECT_THAT(controlCenter->PayloadsOf(kMessageConnect),
                ElementsAre(Bytes{0x42, 0x56, 0x49, 0x4B}));
    EXPECT_EQ(controlCenter->received.front().code, kMessageConnect);
}

TEST_F(ConnectionTest, DisconnectIsAnnouncedOnceWithTheIdentity) {
    StartControlCenter();
    StartDriver();
    driver.reset();
    Run(0.2);
    EXPECT_THAT(controlCenter->PayloadsOf(kMessageDisconnect),
                ElementsAre(Bytes{0x42, 0x56, 0x49, 0x4B}));
    EXPECT_EQ(controlCenter->received.back().code, kMessageDisconnect);
}

TEST_F(ConnectionTest, AnnouncementsWriteNoLogLine) {
    StartControlCenter();
    StartDriver();
    driver.reset();
    EXPECT_THAT(CapturedLogTexts(), IsEmpty());
}

TEST_F(ConnectionTest, AnnouncementsSayWhetherTheyWentOut) {
    StartDriver();
    EXPECT_FALSE(driver->SendConnectMessage());
    EXPECT_FALSE(driver->SendDisconnectMessage());
    driver.reset();
    StartControlCenter();
    StartDriver();
    EXPECT_TRUE(driver->SendConnectMessage());
    EXPECT_TRUE(driver->SendDisconnectMessage());
}

TEST_F(ConnectionTest, ControlCenterStartedLaterIsNeverFound) {
    StartDriver();
    StartControlCenter();
    Run(1.0);
    EXPECT_THAT(controlCenter->received, IsEmpty());
}

TEST_F(ConnectionTest, NothingIsSentBeforeTheFirstTick) {
    StartControlCenter();
    StartDriver();
    Run(0.09);
    EXPECT_THAT(controlCenter->Codes(), ElementsAre(kMessageConnect));
}

TEST_F(ConnectionTest, LanguageGoesOutBeforeTheFrontApplicationAndOnce) {
    desktop->front = WithBundleID(1, "org.a");
    StartControlCenter();
    StartDriver();
    Run(1.0);
    EXPECT_THAT(controlCenter->Codes(),
                ElementsAre(kMessageConnect, kMessageLanguage, kMessageFrontBundleID));
}

TEST_F(ConnectionTest, SignatureGoesOutInHostByteOrder) {
    StartWithFront(WithBundleID(1, "org.a"));
    desktop->Activate(WithSignature(2, "ABCD"));
    Run(0.1);
    ASSERT_THAT(controlCenter->Codes(), ElementsAre(kMessageFrontSignature));
    EXPECT_EQ(controlCenter->received[0].payload, (Bytes{0x44, 0x43, 0x42, 0x41}));
}

TEST_F(ConnectionTest, BundleIDOfTenCharactersTakesElevenBytes) {
    StartWithFront(WithSignature(1, "ABCD"));
    desktop->Activate(WithBundleID(2, "org.ex.abc"));
    Run(0.1);
    ASSERT_THAT(controlCenter->Codes(), ElementsAre(kMessageFrontBundleID));
    Bytes expected = BytesOf(std::string("org.ex.abc"));
    expected.push_back(0);
    EXPECT_EQ(controlCenter->received[0].payload, expected);
    EXPECT_EQ(expected.size(), 11U);
}

TEST_F(ConnectionTest, SignatureOfQuestionMarksCountsAsNone) {
    StartWithFront(WithBundleID(1, "org.a"));
    desktop->Activate(WithSignature(2, "????"));
    Run(0.1);
    EXPECT_THAT(controlCenter->Codes(), ElementsAre(kMessageFrontBundleID));
}

TEST_F(ConnectionTest, TwoSwitchesWithinATickReportTheStateAtTheTick) {
    StartWithFront(WithBundleID(1, "org.a"));
    desktop->Activate(WithBundleID(2, "org.b"));
    desktop->Activate(WithSignature(3, "WXYZ"));
    Run(0.3);
    ASSERT_THAT(controlCenter->Codes(), ElementsAre(kMessageFrontSignature));
    EXPECT_EQ(controlCenter->received[0].payload, (Bytes{'Z', 'Y', 'X', 'W'}));
}

TEST_F(ConnectionTest, ReactivationIsReportedAgain) {
    StartWithFront(WithBundleID(1, "org.a"));
    desktop->Activate(WithBundleID(1, "org.a"));
    Run(0.1);
    EXPECT_THAT(controlCenter->Codes(), ElementsAre(kMessageFrontBundleID));
}

TEST_F(ConnectionTest, ApplicationWithoutSignatureAndBundleIDSendsNothing) {
    StartWithFront(WithBundleID(1, "org.a"));
    desktop->Activate({2, "", false, {}});
    Run(0.3);
    EXPECT_THAT(controlCenter->received, IsEmpty());
}

TEST_F(ConnectionTest, BundleIDOf127BytesGoesOutAndOneOf128DoesNot) {
    StartWithFront(WithBundleID(1, "org.a"));
    desktop->Activate(WithBundleID(2, std::string(127, 'x')));
    Run(0.1);
    ASSERT_THAT(controlCenter->Codes(), ElementsAre(kMessageFrontBundleID));
    EXPECT_EQ(controlCenter->received[0].payload.size(), 128U);
    controlCenter->received.clear();

    desktop->Activate(WithBundleID(3, std::string(128, 'x')));
    Run(0.3);
    EXPECT_THAT(controlCenter->received, IsEmpty());
}

TEST_F(ConnectionTest, NobodyInFrontAtTheStartIsReportedAsTheEmptyRecord) {
    StartControlCenter();
    StartDriver();
    Run(0.3);
    EXPECT_THAT(controlCenter->PayloadsOf(kMessageFrontSignature), ElementsAre(Bytes{0, 0, 0, 0}));
}

TEST_F(ConnectionTest, TicksPauseInAnotherMode) {
    StartWithFront(WithBundleID(1, "org.a"));
    desktop->Activate(WithBundleID(2, "org.b"));
    // A mode with a timer of its own, so that it is not empty.
    const auto timer = Adopt(CFRunLoopTimerCreate(
        nullptr, CFAbsoluteTimeGetCurrent() + 10, 0, 0, 0, [](CFRunLoopTimerRef, void*) {},
        nullptr));
    CFRunLoopAddTimer(CFRunLoopGetCurrent(), timer.Get(), CFSTR("modal"));
    CFRunLoopRunInMode(CFSTR("modal"), 0.5, false);
    EXPECT_THAT(controlCenter->received, IsEmpty());
    CFRunLoopTimerInvalidate(timer.Get());
    Run(0.1);
    EXPECT_THAT(controlCenter->Codes(), ElementsAre(kMessageFrontBundleID));
}

TEST_F(ConnectionTest, ChangesWithoutAControlCenterAreLostAndLogged) {
    StartDriver();
    Run(0.3);
    desktop->Activate(WithBundleID(2, "org.b"));
    CapturedLog().clear();
    Run(0.3);
    char expected[100];
    std::snprintf(expected, sizeof expected,
                  "SendMessage no remote port (%p) or remote port invalid", Probe().RemotePort());
    EXPECT_THAT(CapturedLogTexts(), ElementsAre(expected));
}

// Status

Bytes StatusReply(std::initializer_list<unsigned char> start) {
    Bytes reply(28, 0);
    std::copy(start.begin(), start.end(), reply.begin());
    return reply;
}

TEST_F(ConnectionTest, CountsReadAsZeroUntilAStatusReplyCame) {
    EXPECT_EQ(CZYN_UserSpaceDriver::GetUnitCount(), 0);
    StartControlCenter();
    StartDriver();
    EXPECT_EQ(CZYN_UserSpaceDriver::GetUnitCount(), 0);
    EXPECT_EQ(CZYN_UserSpaceDriver::GetChannelCount(), 0);
}

TEST_F(ConnectionTest, StatusReplyGivesUnitsAndChannels) {
    StartControlCenter();
    controlCenter->replies[kMessageStatus] = StatusReply({0, 0, 0, 2, 0, 0, 0, 16});
    StartDriver();
    driver->RequestVRTStatus();
    EXPECT_EQ(CZYN_UserSpaceDriver::GetUnitCount(), 2);
    EXPECT_EQ(CZYN_UserSpaceDriver::GetChannelCount(), 16);
    EXPECT_THAT(controlCenter->PayloadsOf(kMessageStatus), ElementsAre(Bytes{}));
}

TEST_F(ConnectionTest, StatusCountsAreCutToSixteenBits) {
    StartControlCenter();
    controlCenter->replies[kMessageStatus] = StatusReply({0, 1, 0, 3, 0, 2, 0, 4});
    StartDriver();
    driver->RequestVRTStatus();
    EXPECT_EQ(CZYN_UserSpaceDriver::GetUnitCount(), 3);
    EXPECT_EQ(CZYN_UserSpaceDriver::GetChannelCount(), 4);
}

TEST_F(ConnectionTest, ShortAndEmptyStatusRepliesAreIgnored) {
    StartControlCenter();
    controlCenter->replies[kMessageStatus] = StatusReply({0, 0, 0, 2, 0, 0, 0, 16});
    StartDriver();
    driver->RequestVRTStatus();
    for (const std::size_t length : {0U, 1U, 27U}) {
        controlCenter->replies[kMessageStatus] = Bytes(length, 9);
        driver->RequestVRTStatus();
        EXPECT_EQ(CZYN_UserSpaceDriver::GetUnitCount(), 2) << length;
    }
}

TEST_F(ConnectionTest, NoStatusWithoutAControlCenter) {
    StartDriver();
    driver->RequestVRTStatus();
    EXPECT_EQ(CZYN_UserSpaceDriver::GetUnitCount(), 0);
}

TEST_F(ConnectionTest, ConnectStateIsAlwaysFalse) {
    StartControlCenter();
    StartDriver();
    EXPECT_FALSE(driver->RequestConnectState());
    Run(0.3);
    EXPECT_FALSE(driver->RequestConnectState());
}

// Nesting

TEST_F(ConnectionTest, ATickRunsInsideAWaitingSend) {
    StartWithFront(WithBundleID(1, "org.a"));
    controlCenter->whenReceived = [this](const ScriptedControlCenter::Message& message) {
        if (message.code != kMessageStatus) return;
        desktop->Activate(WithBundleID(2, "org.b"));
        clock.Advance(
            std::chrono::milliseconds(100));  // the answer takes so long that a tick is due
        Run(0.001);
    };
    driver->RequestVRTStatus();
    controlCenter->whenReceived = nullptr;
    Run(0.01);
    EXPECT_THAT(controlCenter->Codes(), ElementsAre(kMessageStatus, kMessageFrontBundleID));
}

TEST_F(ConnectionTest, ARequestIsAnsweredInsideAWaitingSend) {
    StartWithFront(WithBundleID(1, "org.a"));
    std::optional<Bytes> answer;
    controlCenter->whenReceived = [&](const ScriptedControlCenter::Message& message) {
        if (message.code != kMessageStatus) return;
        const auto port = Adopt(CFMessagePortCreateRemote(nullptr, CFSTR("Kivo_MessagePort_KIVB")));
        CFDataRef reply = nullptr;
        EXPECT_EQ(CFMessagePortSendRequest(port.Get(), kMessagePointer, nullptr, 1, 1,
                                           kCFRunLoopDefaultMode, &reply),
                  kCFMessagePortSuccess);
        answer = BytesOf(Adopt(reply).Get());
    };
    controlCenter->replies[kMessageStatus] = StatusReply({0, 0, 0, 5});
    driver->RequestVRTStatus();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->size(), 8U);
    EXPECT_EQ(CZYN_UserSpaceDriver::GetUnitCount(), 5);
}

TEST_F(ConnectionTest, SendsFailOnceTheControlCenterIsGone) {
    StartWithFront(WithBundleID(1, "org.a"));
    controlCenter.reset();
    CapturedLog().clear();
    desktop->Activate(WithBundleID(2, "org.b"));
    Run(0.3);
    // The port stays, so a status of the message port is logged and not its absence.
    ASSERT_EQ(CapturedLog().size(), 1U);
    EXPECT_THAT(CapturedLog()[0].text, testing::StartsWith("SendMessage (no reply) returned ffff"));
    EXPECT_FALSE(driver->SendDisconnectMessage());
}

}  // namespace
}  // namespace kivo::test
