// Key events over a scripted keyboard: who is asked, what the record holds, and what the answer
// does.

#include <linux/input-event-codes.h>

#include "ZYNCommon/DesignedRetention.h"
#include "ZYNCommon/RawPayloads.h"
#include "tests/support/ScriptedKeyboard.h"
#include "tests/unit/driver/DriverTest.h"

namespace kivo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// How many objects of a kind were kept since the test began.
class Kept {
  public:
    explicit Kept(DesignedRetention kind) : mKind(kind), mBefore(CountDesignedRetentions(kind)) {}
    std::size_t Count() const { return CountDesignedRetentions(mKind) - mBefore; }

  private:
    const DesignedRetention mKind;
    const std::size_t mBefore;
};

class EventTapTest : public DriverTest {
  protected:
    void SetUp() override {
        StartControlCenter();
        StartDriver();
        controlCenter->replies[kMessageKeyEvent] = {1};
    }

    void Forward(bool isWanted) { Ask(kMessageEventTap, {static_cast<unsigned char>(isWanted)}); }

    /// Calls the tap's callback; whether the event was let through.
    static bool Show(CGEventType type, CGEventRef event) {
        const CGEventRef answer =
            CZYN_UserSpaceDriver::EventTapCallBackEntry(nullptr, type, event, nullptr);
        EXPECT_TRUE(answer == event || answer == nullptr);
        return answer != nullptr;
    }
    static bool ShowKeyDown() {
        const auto event = Adopt(CGEventCreateKeyboardEvent(nullptr, 0, true));
        return Show(kCGEventKeyDown, event.Get());
    }
    std::vector<Bytes> Records() const { return controlCenter->PayloadsOf(kMessageKeyEvent); }

    void Type(keyboard::KeyCode code) {
        keys.Press(code);
        keys.Release(code);
        Run(0.001);
    }

    const Kept keptReplies{DesignedRetention::kSwallowedKeyReply};
    const Kept keptTaps{DesignedRetention::kEventTap};
    ScriptedKeyboard keys;
};

TEST_F(EventTapTest, WithForwardingOffNothingIsSent) {
    EXPECT_TRUE(ShowKeyDown());
    Forward(true);
    Forward(false);
    EXPECT_TRUE(ShowKeyDown());
    EXPECT_THAT(Records(), IsEmpty());
}

TEST_F(EventTapTest, TheRecordHasItsFieldsInTheirPlaces) {
    Forward(true);
    const auto event = Adopt(CGEventCreateKeyboardEvent(nullptr, 0x7E, true));
    CGEventSetFlags(event.Get(), 0x0123456789ABCDEF);
    EXPECT_TRUE(Show(kCGEventKeyDown, event.Get()));
    EXPECT_THAT(Records(),
                ElementsAre(Bytes{0x7E, 0,    0,    0,    0, 0, 0, 0, 0xEF, 0xCD, 0xAB, 0x89,
                                  0x67, 0x45, 0x23, 0x01, 1, 0, 0, 0, 0,    0,    0,    0}));
}

TEST_F(EventTapTest, OnlyAKeyDownIsDown) {
    Forward(true);
    for (const CGEventType type : {CGEventType{kCGEventKeyUp}, CGEventType{kCGEventFlagsChanged},
                                   CGEventType{kCGEventTapDisabledByTimeout}}) {
        const auto event = Adopt(CGEventCreate(nullptr));
        EXPECT_TRUE(Show(type, event.Get()));
        EXPECT_EQ(Records().back()[16], 0);
    }
}

TEST_F(EventTapTest, AKeyCodeIsCutToItsLow16Bits) {
    Forward(true);
    const auto event = Adopt(CGEventCreateKeyboardEvent(nullptr, 0, true));
    CGEventSetIntegerValueField(event.Get(), kCGKeyboardEventKeycode, 0x12345);
    Show(kCGEventKeyDown, event.Get());
    EXPECT_EQ(Records().back()[0], 0x45);
    EXPECT_EQ(Records().back()[1], 0x23);
    EXPECT_EQ(Records().back()[2], 0);
}

TEST_F(EventTapTest, OnlyBitZeroOfTheFirstReplyByteCounts) {
    Forward(true);
    const std::vector<std::pair<Bytes, bool>> answers = {
        {{0x01}, true},  {{0xFF}, true},  {{0x01, 0x00}, true},
        {{0x00}, false}, {{0x02}, false}, {{0x00, 0x01}, false}};
    for (const auto& [reply, isLetThrough] : answers) {
        controlCenter->replies[kMessageKeyEvent] = reply;
        EXPECT_EQ(ShowKeyDown(), isLetThrough);
    }
}

TEST_F(EventTapTest, AnEmptyReplySwallows) {
    Forward(true);
    controlCenter->replies.erase(kMessageKeyEvent);
    EXPECT_FALSE(ShowKeyDown());
    EXPECT_EQ(keptReplies.Count(), 0u);
}

TEST_F(EventTapTest, TheReplyThatSwallowedIsKept) {
    Forward(true);
    EXPECT_TRUE(ShowKeyDown());
    EXPECT_EQ(keptReplies.Count(), 0u);
    controlCenter->replies[kMessageKeyEvent] = {0};
    EXPECT_FALSE(ShowKeyDown());
    EXPECT_FALSE(ShowKeyDown());
    EXPECT_EQ(keptReplies.Count(), 2u);
}

TEST_F(EventTapTest, AControlCenterThatIsGoneSwallowsEverything) {
    Forward(true);
    controlCenter.reset();
    EXPECT_FALSE(ShowKeyDown());
    EXPECT_FALSE(ShowKeyDown());
}

TEST_F(EventTapTest, AControlCenterThatHangsCostsTenMillisecondsAndTheKey) {
    Forward(true);
    controlCenter->StopListening();
    const LoopInstant before = clock.Now();
    EXPECT_FALSE(ShowKeyDown());
    EXPECT_EQ(clock.Now() - before, std::chrono::milliseconds(10));
}

TEST_F(EventTapTest, WithoutADriverEventsPass) {
    Forward(true);
    driver.reset();
    EXPECT_TRUE(ShowKeyDown());
}

TEST_F(EventTapTest, PortAndSourceOfTheTapAreKept) {
    EXPECT_EQ(keptTaps.Count(), 2u);
    driver.reset();
    EXPECT_EQ(keptTaps.Count(), 2u);
}

TEST_F(EventTapTest, KeyboardsAreHeldOnlyWhileForwardingIsOn) {
    EXPECT_FALSE(keys.IsHeld());
    Forward(true);
    EXPECT_TRUE(keys.IsHeld());
    Forward(false);
    EXPECT_FALSE(keys.IsHeld());
}

TEST_F(EventTapTest, AKeyGoesThroughTheControlCenter) {
    Forward(true);
    Type(KEY_A);
    EXPECT_THAT(keys.session, ElementsAre("down 30", "up 30"));
    ASSERT_THAT(Records(), SizeIs(2));
    EXPECT_EQ(Records()[0][16], 1);
    EXPECT_EQ(Records()[1][16], 0);
}

TEST_F(EventTapTest, ASwallowedKeyDoesNotReachTheSession) {
    Forward(true);
    controlCenter->replies[kMessageKeyEvent] = {0};
    Type(KEY_A);
    EXPECT_THAT(keys.session, IsEmpty());
    EXPECT_THAT(Records(), SizeIs(2));
}

TEST_F(EventTapTest, KeysTypedDuringAQuestionWaitForTheirTurn) {
    Forward(true);
    std::vector<std::string> order;
    bool isAsking = false;
    controlCenter->whenReceived = [&](const ScriptedControlCenter::Message& message) {
        if (message.code != kMessageKeyEvent) return;
        EXPECT_FALSE(isAsking) << "a question within a question";
        isAsking = true;
        if (Records().size() == 1) Type(KEY_B);
        isAsking = false;
    };
    Type(KEY_A);
    Run(0.001);
    EXPECT_THAT(keys.session, ElementsAre("down 30", "up 30", "down 48", "up 48"));
}

TEST_F(EventTapTest, ForwardingThatEndsDuringAQuestionLetsTheKeyThrough) {
    Forward(true);
    controlCenter->replies[kMessageKeyEvent] = {0};
    controlCenter->whenReceived = [&](const ScriptedControlCenter::Message& message) {
        if (message.code == kMessageKeyEvent) Forward(false);
    };
    Type(KEY_A);
    EXPECT_THAT(keys.session, ElementsAre("down 30", "up 30"));
    EXPECT_FALSE(keys.IsHeld());
}

TEST_F(EventTapTest, TheEscapeChordEndsTheTapAndIsToldAsAnEmptyEvent) {
    Forward(true);
    controlCenter->replies[kMessageKeyEvent] = {0};
    for (const keyboard::KeyCode code : {KEY_BACKSPACE, KEY_ESC, KEY_ENTER}) {
        keys.Press(code);
    }
    Run(0.001);
    EXPECT_FALSE(keys.IsHeld());
    EXPECT_EQ(Records().back(), Bytes(24, 0));
    // The tap stays off, also when forwarding is switched on again.
    Forward(false);
    Forward(true);
    EXPECT_FALSE(keys.IsHeld());
}

TEST_F(EventTapTest, WhatTheGuardFreedStaysFree) {
    Forward(true);
    keys.Press(KEY_A);
    Run(0.001);
    keys.BeFreed();
    Run(0.001);
    EXPECT_FALSE(keys.IsHeld());
    EXPECT_EQ(Records().back(), Bytes(24, 0));
    EXPECT_THAT(keys.session, ElementsAre("down 30"));
}

TEST_F(EventTapTest, AnIdleSecondDaemonTakesNoKeyboard) {
    CZYN_UserSpaceDriver second;
    EXPECT_FALSE(keys.IsHeld());
}

}  // namespace
}  // namespace kivo::test
