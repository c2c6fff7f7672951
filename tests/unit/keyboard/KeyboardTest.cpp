// A keyboard's device over a scripted kernel: that no event is taken twice or out of order, and
// what makes up for those that the kernel dropped.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "keyboard/KeyGate.h"
#include "keyboard/evdev/Clone.h"
#include "keyboard/evdev/Keyboard.h"
#include "tests/unit/keyboard/ScriptedDevice.h"

namespace kivo::test {
namespace {

using keyboard::Action;
using keyboard::DeviceID;
using keyboard::DisabledBy;
using keyboard::KeyCode;
using keyboard::KeyGate;
using keyboard::PressedBy;
using keyboard::TappedKey;
using keyboard::evdev::Keyboard;
using Audience = Keyboard::Audience;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// "+30" for a press, "-30" for a release, "*30" for a repeat.
using Seen = std::vector<std::string>;

void Note(const input_event& event, Seen* seen) {
    if (event.type == EV_KEY) seen->push_back("-+*"[event.value] + std::to_string(event.code));
}

Seen ReadAll(Keyboard& keyboard) {
    Seen seen;
    EXPECT_TRUE(keyboard.Read([&](const input_event& event, Audience) { Note(event, &seen); }));
    return seen;
}

TEST(KeyboardTest, EventsComeAsTheyWereTyped) {
    ScriptedDevice device;
    const auto keyboard = Keyboard::Open(device.Path());
    ASSERT_NE(keyboard, nullptr);
    device.Press(KEY_A);
    device.Repeat(KEY_A);
    device.Release(KEY_A);
    EXPECT_THAT(ReadAll(*keyboard), ElementsAre("+30", "*30", "-30"));
    EXPECT_THAT(ReadAll(*keyboard), IsEmpty());
}

TEST(KeyboardTest, OnlyWhatIsAKeyboardAndNothingElseMayBeHeld) {
    ScriptedDevice device;
    const auto mayBeHeld = [&] { return Keyboard::Open(device.Path()) != nullptr; };
    for (bool ScriptedDevice::*trait :
         {&ScriptedDevice::hasSwitches, &ScriptedDevice::hasMouseButtons,
          &ScriptedDevice::isTouched}) {
        device.*trait = true;
        EXPECT_FALSE(mayBeHeld());
        device.*trait = false;
        EXPECT_TRUE(mayBeHeld());
    }
    // Volume and power, as the buttons of a case or a headset.
    device.hasLetters = false;
    EXPECT_FALSE(mayBeHeld());
    device.hasLetters = true;
    device.phys = keyboard::evdev::kClonePhys;
    EXPECT_FALSE(mayBeHeld());
    device.phys += "s";
    EXPECT_TRUE(mayBeHeld());
}

TEST(KeyboardTest, MoreThanIsReadAtOnceComesWhole) {
    ScriptedDevice device;
    const auto keyboard = Keyboard::Open(device.Path());
    for (int i = 0; i < 100; ++i) {
        device.Press(KEY_A);
        device.Release(KEY_A);
    }
    EXPECT_EQ(ReadAll(*keyboard).size(), 200U);
}

TEST(KeyboardTest, WhatIsDownAfterALossIsPressedAndWhatIsUpReleased) {
    ScriptedDevice device(8);
    const auto keyboard = Keyboard::Open(device.Path());
    device.Press(KEY_A);
    device.Press(KEY_C);
    ReadAll(*keyboard);
    device.Release(KEY_A);
    device.Press(KEY_D);
    device.Press(KEY_E);
    device.Release(KEY_E);
    ASSERT_EQ(device.Drops(), 1);
    EXPECT_THAT(ReadAll(*keyboard), UnorderedElementsAre("-30", "+32"));
    EXPECT_THAT(keyboard->KeysDown(), ElementsAre(KEY_D, KEY_C));
}

TEST(KeyboardTest, WhatIsInTheAnswerAfterALossDoesNotComeAgain) {
    ScriptedDevice device(8);
    const auto keyboard = Keyboard::Open(device.Path());
    for (const KeyCode code : {KEY_A, KEY_C, KEY_D, KEY_E, KEY_F}) {
        device.Press(code);
    }
    ASSERT_EQ(device.Drops(), 1);
    EXPECT_THAT(ReadAll(*keyboard), UnorderedElementsAre("+30", "+46", "+32", "+18", "+33"));
    device.Release(KEY_F);
    EXPECT_THAT(ReadAll(*keyboard), ElementsAre("-33"));
}

TEST(KeyboardTest, WhoeverReadsWhileAnEventIsTakenGetsTheNextOnes) {
    ScriptedDevice device;
    const auto keyboard = Keyboard::Open(device.Path());
    device.Press(KEY_A);
    device.Release(KEY_A);
    Seen seen;
    keyboard->Read([&](const input_event& event, Audience) {
        Note(event, &seen);
        if (event.type != EV_KEY || event.value != 1 || seen.size() > 1) return;
        device.Press(KEY_A);
        keyboard->Read([&](const input_event& inner, Audience) { Note(inner, &seen); });
    });
    EXPECT_THAT(seen, ElementsAre("+30", "-30", "+30"));
    EXPECT_THAT(keyboard->KeysDown(), ElementsAre(KEY_A));
}

TEST(KeyboardTest, WhoeverReadsWhileALossIsMadeUpForGetsTheRestOfIt) {
    ScriptedDevice device(8);
    const auto keyboard = Keyboard::Open(device.Path());
    for (const KeyCode code : {KEY_A, KEY_C, KEY_D, KEY_E}) {
        device.Press(code);
    }
    ASSERT_EQ(device.Drops(), 1);
    Seen seen;
    keyboard->Read([&](const input_event& event, Audience) {
        Note(event, &seen);
        if (seen.size() != 1) return;
        device.Release(KEY_A);
        keyboard->Read([&](const input_event& inner, Audience) { Note(inner, &seen); });
    });
    EXPECT_THAT(seen, ElementsAre("+18", "+30", "+32", "+46", "-30"));
}

TEST(KeyboardTest, WhatAnotherHadMeanwhileIsKnownWhenTheKeyboardIsGrabbed) {
    ScriptedDevice device;
    device.Press(KEY_A);
    const auto keyboard = Keyboard::Open(device.Path());
    EXPECT_THAT(keyboard->KeysDown(), ElementsAre(KEY_A));
    device.isGrabbedByAnother = true;
    EXPECT_FALSE(keyboard->Grab());
    device.Release(KEY_A);
    device.Press(KEY_C);
    device.isGrabbedByAnother = false;
    keyboard->MakeUp();
    EXPECT_TRUE(keyboard->Grab());
    EXPECT_THAT(ReadAll(*keyboard), UnorderedElementsAre("-30", "+46"));
    EXPECT_THAT(keyboard->KeysDown(), ElementsAre(KEY_C));
    device.Release(KEY_C);
    EXPECT_THAT(ReadAll(*keyboard), ElementsAre("-46"));
}

TEST(KeyboardTest, WhatIsReleasedForOthersIsNotTaken) {
    ScriptedDevice device;
    const auto keyboard = Keyboard::Open(device.Path());
    ASSERT_TRUE(keyboard->Grab());
    device.Press(KEY_C);
    ReadAll(*keyboard);
    keyboard->ReleaseForOthers(KEY_A);
    keyboard->ReleaseForOthers(KEY_C);
    EXPECT_THAT(ReadAll(*keyboard), IsEmpty());
    EXPECT_THAT(keyboard->KeysDown(), ElementsAre(KEY_C));
}

/// The same, with "all" behind what everybody got.
Seen ReadWithAudience(Keyboard& keyboard) {
    Seen seen;
    keyboard.Read([&](const input_event& event, Audience audience) {
        Note(event, &seen);
        if (event.type == EV_KEY && audience == Audience::kEverybody) seen.back() += " all";
    });
    return seen;
}

/// A keyboard on which, whenever a grab begins or ends, one key is typed just before that and one
/// just after.
class Handover : public testing::Test {
  protected:
    void TypeAtHandover() {
        mDevice.beforeGrabChanges = [this] { mDevice.Press(mNext++); };
        mDevice.afterGrabChanges = mDevice.beforeGrabChanges;
    }

    ScriptedDevice mDevice;
    const std::unique_ptr<Keyboard> mKeyboard = Keyboard::Open(mDevice.Path());
    KeyCode mNext = KEY_1;
};

TEST_F(Handover, WhatIsTypedAsTheGrabBeginsCameToEverybodyOrHereAlone) {
    mDevice.Press(KEY_A);
    TypeAtHandover();
    ASSERT_TRUE(mKeyboard->Grab());
    EXPECT_TRUE(mKeyboard->HasMore());
    EXPECT_THAT(ReadWithAudience(*mKeyboard), ElementsAre("+30 all", "+2 all", "+3"));
    EXPECT_FALSE(mKeyboard->HasMore());
}

TEST_F(Handover, WhatIsLetGoOfAsTheGrabBeginsCameToEverybodyOrHereAlone) {
    mDevice.Press(KEY_1);
    mDevice.Press(KEY_2);
    mDevice.beforeGrabChanges = [this] { mDevice.Release(KEY_1); };
    mDevice.afterGrabChanges = [this] { mDevice.Release(KEY_2); };
    ASSERT_TRUE(mKeyboard->Grab());
    EXPECT_THAT(ReadWithAudience(*mKeyboard), ElementsAre("+2 all", "+3 all", "-2 all", "-3"));
}

TEST_F(Handover, WhatIsTypedAsTheGrabEndsCameHereAloneOrToEverybody) {
    ASSERT_TRUE(mKeyboard->Grab());
    mDevice.Press(KEY_A);
    TypeAtHandover();
    mKeyboard->Ungrab();
    mDevice.Press(KEY_C);
    EXPECT_THAT(ReadWithAudience(*mKeyboard), ElementsAre("+30", "+2", "+3 all", "+46 all"));
}

TEST_F(Handover, WhatIsTypedWhileTheGrabIsInterruptedCameToEverybody) {
    mDevice.Press(KEY_A);
    ASSERT_TRUE(mKeyboard->Grab());
    ReadAll(*mKeyboard);
    const auto session = Keyboard::Open(mDevice.Path());
    mDevice.Release(KEY_A);
    TypeAtHandover();
    EXPECT_TRUE(mKeyboard->ReleaseForOthers(KEY_A));
    mDevice.Press(KEY_C);
    EXPECT_THAT(ReadAll(*session), ElementsAre("+3", "+30", "-30", "+4"));
    EXPECT_THAT(ReadWithAudience(*mKeyboard),
                ElementsAre("-30", "+2", "+3 all", "+4 all", "+5", "+46"));
}

TEST_F(Handover, AProcessThatIsKilledInBetweenLeavesNoKeyDownThatIsReleasedForOthers) {
    mDevice.Press(KEY_A);
    ASSERT_TRUE(mKeyboard->Grab());
    mDevice.Release(KEY_A);
    int writings = 0;
    mDevice.afterWriting = [&] {
        ++writings;
        EXPECT_FALSE(mDevice.IsDown(KEY_A));
    };
    EXPECT_TRUE(mKeyboard->ReleaseForOthers(KEY_A));
    EXPECT_GT(writings, 0);
}

TEST_F(Handover, AKeyThatStaysDownIsReleasedForOthersAndItsReleaseComes) {
    mDevice.Press(KEY_A);
    const auto session = Keyboard::Open(mDevice.Path());
    ASSERT_TRUE(mKeyboard->Grab());
    ReadAll(*mKeyboard);
    EXPECT_TRUE(mKeyboard->ReleaseForOthers(KEY_A));
    EXPECT_THAT(ReadAll(*session), ElementsAre("-30"));
    EXPECT_TRUE(mDevice.IsDown(KEY_A));
    EXPECT_THAT(ReadAll(*mKeyboard), IsEmpty());
    mDevice.Release(KEY_A);
    EXPECT_THAT(ReadWithAudience(*mKeyboard), ElementsAre("-30"));
}

TEST_F(Handover, AKeyboardThatAnotherTakesWhileTheGrabIsInterruptedIsNotOursAnyMore) {
    ASSERT_TRUE(mKeyboard->Grab());
    mDevice.afterGrabChanges = [this] { mDevice.isGrabbedByAnother = true; };
    EXPECT_FALSE(mKeyboard->ReleaseForOthers(KEY_A));
    mDevice.isGrabbedByAnother = false;
    mDevice.afterGrabChanges = [] {};
    mDevice.Press(KEY_C);
    EXPECT_THAT(ReadWithAudience(*mKeyboard), ElementsAre("+46 all"));
    EXPECT_TRUE(mKeyboard->Grab());
}

TEST_F(Handover, WithoutAWitnessTheKeyboardIsNotGrabbed) {
    mDevice.isForbidden = true;
    EXPECT_FALSE(mKeyboard->Grab());
    EXPECT_EQ(errno, EACCES);
    mDevice.isForbidden = false;
    EXPECT_TRUE(mKeyboard->Grab());
}

/// The keys of a session that a gate keeps, over a keyboard whose events get lost.
class SessionOverLosses final : keyboard::KeySession, keyboard::KeyJudge {
  public:
    explicit SessionOverLosses(unsigned seed, bool swallows)
        : mRandom(seed), mSwallows(swallows), mKeyboard(Keyboard::Open(mDevice.Path())) {
        mKeyboard->Grab();
        mGate.Open(1, mKeyboard->KeysDown());
        mGate.Hold();
    }

    /// Some keys go down and up, more of them at times than the kernel keeps.
    void Type() {
        static constexpr KeyCode kCodes[] = {KEY_A, KEY_C, KEY_D, KEY_LEFTSHIFT, KEY_VOLUMEUP};
        for (int i = Roll(12); i >= 0; --i) {
            const KeyCode code = kCodes[Roll(std::size(kCodes))];
            if (!mDevice.IsDown(code))
                mDevice.Press(code);
            else if (Roll(3) == 0)
                mDevice.Repeat(code);
            else
                mDevice.Release(code);
        }
    }
    /// From now on the hand does nothing by itself.
    void LetGo() {
        mIsAtRest = true;
        for (KeyCode code = 0; code < KEY_CNT; ++code) {
            if (mDevice.IsDown(code)) mDevice.Release(code);
        }
    }
    void Settle() {
        Read();
        while (mGate.HasWork()) {
            mGate.DecideNext();
        }
    }

    std::set<KeyCode> Hand() const {
        std::set<KeyCode> down;
        for (KeyCode code = 0; code < KEY_CNT; ++code) {
            if (mDevice.IsDown(code)) down.insert(code);
        }
        return down;
    }
    const std::set<KeyCode>& Session() const { return mSession; }
    int Drops() const { return mDevice.Drops(); }

  private:
    int Roll(int sides) { return std::uniform_int_distribution<int>(0, sides - 1)(mRandom); }

    void Read() {
        mKeyboard->Read([this](const input_event& event, Audience) {
            if (event.type != EV_KEY) return;
            mGate.Feed({1, event.code, static_cast<Action>(event.value)});
        });
    }
    void Press(DeviceID, KeyCode code) override {
        EXPECT_TRUE(mSession.insert(code).second) << "pressed twice: " << code;
    }
    void Release(DeviceID, KeyCode code, PressedBy) override {
        EXPECT_EQ(mSession.erase(code), 1U) << "released without a press: " << code;
    }
    void Close(DeviceID) override {}
    bool LetsThrough(const TappedKey&) override {
        // An answer takes its time, in which keys are typed, and read.
        if (!mIsAtRest && Roll(4) == 0) {
            Type();
            Read();
        }
        return !mSwallows || Roll(3) != 0;
    }
    void TapDisabled(DisabledBy) override {}

    std::mt19937 mRandom;
    const bool mSwallows;
    ScriptedDevice mDevice{16};
    std::unique_ptr<Keyboard> mKeyboard;
    KeyGate mGate{*this, *this};
    std::set<KeyCode> mSession;
    bool mIsAtRest = false;
};

class KeyboardLosses : public testing::TestWithParam<unsigned> {};

TEST_P(KeyboardLosses, TheSessionFollowsTheHand) {
    SessionOverLosses session(GetParam(), false);
    for (int i = 0; i < 100 && !HasFailure(); ++i) {
        session.Type();
        session.Settle();
        EXPECT_EQ(session.Session(), session.Hand());
    }
    EXPECT_GT(session.Drops(), 20);
}

TEST_P(KeyboardLosses, NothingThatIsUpIsDownInTheSession) {
    SessionOverLosses session(GetParam(), true);
    for (int i = 0; i < 100 && !HasFailure(); ++i) {
        session.Type();
        session.Settle();
        const auto hand = session.Hand();
        EXPECT_TRUE(std::includes(hand.begin(), hand.end(), session.Session().begin(),
                                  session.Session().end()));
    }
    session.LetGo();
    session.Settle();
    EXPECT_THAT(session.Session(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Seeds, KeyboardLosses, testing::Range(1u, 21u));

}  // namespace
}  // namespace kivo::test
