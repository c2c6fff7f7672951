// What users set on their keyboards holds while the tap holds the keys, and afterwards: layouts,
// their groups, Caps Lock and its light, and how keys repeat.

#include <array>
#include <ostream>

#include "tests/desktop/X11KeyboardTest.h"

namespace kivo::test {

using keyboard::x11::DeviceNumber;
using keyboard::x11::kSessionKeyboard;
using keyboard::x11::Reply;
using testing::ElementsAre;

namespace {

/// How a keyboard repeats.
struct Repeating {
    int delay = 0;
    int interval = 0;
    bool isOn = false;
    std::array<std::uint8_t, 32> keys{};

    bool operator==(const Repeating&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Repeating& one) {
    return stream << (one.isOn ? "on" : "off") << " after " << one.delay << " every "
                  << one.interval
                  << " ms, A: " << (one.keys[(KEY_A + 8) / 8] >> (KEY_A + 8) % 8 & 1);
}

class X11LayoutTest : public X11KeyboardTest {
  protected:
    xcb_connection_t* Connection() { return hand->client.Get(); }
    std::string OwnKeyboard() { return std::to_string(hand->Keyboard()); }

    /// What one key means now, typed into the application.
    xcb_keysym_t Meaning(KeyCode key) {
        application->Clear();
        hand->Type(key);
        Keys(2);
        const auto symbols = application->Symbols();
        return symbols.size() == 1 ? symbols.front() : 0;
    }
    void ExpectMeaning(KeyCode key, xcb_keysym_t symbol) {
        // The tap hears of changes by and by.
        EXPECT_TRUE(Await([&] { return Meaning(key) == symbol; }, 2)) << Meaning(key);
    }

    Repeating RepeatingOf(xcb_xkb_device_spec_t device) {
        const Reply<xcb_xkb_get_controls_reply_t> reply(xcb_xkb_get_controls_reply(
            Connection(), xcb_xkb_get_controls(Connection(), device), nullptr));
        Repeating repeating{reply->repeatDelay,
                            reply->repeatInterval,
                            (reply->enabledControls & XCB_XKB_BOOL_CTRL_REPEAT_KEYS) != 0,
                            {}};
        std::copy_n(reply->perKeyRepeat, repeating.keys.size(), repeating.keys.begin());
        return repeating;
    }
    std::uint32_t LightsOf(xcb_xkb_device_spec_t device) {
        const Reply<xcb_xkb_get_indicator_state_reply_t> reply(xcb_xkb_get_indicator_state_reply(
            Connection(), xcb_xkb_get_indicator_state(Connection(), device), nullptr));
        return reply->state;
    }
    int LockedGroup(xcb_xkb_device_spec_t device) {
        const Reply<xcb_xkb_get_state_reply_t> reply(xcb_xkb_get_state_reply(
            Connection(), xcb_xkb_get_state(Connection(), device), nullptr));
        return reply->lockedGroup;
    }
    void LockGroup(std::uint8_t group) {
        xcb_xkb_latch_lock_state(Connection(), kSessionKeyboard, 0, 0, 1, group, 0, 0, 0);
        hand->client.Sync();
    }
    void ExpectNothingDown() {
        EXPECT_TRUE(Await([&] { return keyboard::x11::KeysDownInSession(Connection()).none(); }));
    }
};

// Layouts

TEST_F(X11LayoutTest, AKeyboardsOwnLayoutSetMeanwhileHoldsThenAndAfterwards) {
    Hold();
    Run("setxkbmap -device " + OwnKeyboard() + " de");
    ExpectMeaning(KEY_Y, 'z');
    tap->LetGo(*hand);
    ExpectMeaning(KEY_Y, 'z');
}

TEST_F(X11LayoutTest, AKeymapLoadedMeanwhileHoldsThenAndAfterwards) {
    Hold();
    Run("setxkbmap -print -layout fr | xkbcomp -w 0 - $DISPLAY");
    ExpectMeaning(KEY_Q, 'a');
    tap->LetGo(*hand);
    ExpectMeaning(KEY_Q, 'a');
}

TEST_F(X11LayoutTest, AKeymapLoadedIntoOneKeyboardMeanwhileHoldsThenAndAfterwards) {
    Hold();
    Run("setxkbmap -print -layout fr | xkbcomp -w 0 -i " + OwnKeyboard() + " - $DISPLAY");
    ExpectMeaning(KEY_Q, 'a');
    tap->LetGo(*hand);
    ExpectMeaning(KEY_Q, 'a');
}

TEST_F(X11LayoutTest, AKeyThatIsDownWhenTheLayoutChangesComesUp) {
    Hold();
    hand->Press(KEY_LEFTSHIFT);
    hand->Press(KEY_Y);
    EXPECT_THAT(Keys(2), ElementsAre("+42", "+21"));
    Run("setxkbmap de");
    TurnRunLoop(0.1);
    hand->Release(KEY_Y);
    hand->Release(KEY_LEFTSHIFT);
    ExpectNothingDown();
    ExpectMeaning(KEY_Y, 'z');
    tap->LetGo(*hand);
    ExpectNothingDown();
    ExpectMeaning(KEY_Y, 'z');
}

TEST_F(X11LayoutTest, AKeyThatIsDownWhenItsKeyboardsLayoutChangesComesUp) {
    Hold();
    hand->Press(KEY_Y);
    EXPECT_THAT(Keys(1), ElementsAre("+21"));
    Run("setxkbmap -device " + OwnKeyboard() + " de");
    hand->Release(KEY_Y);
    ExpectNothingDown();
    ExpectMeaning(KEY_Y, 'z');
}

TEST_F(X11LayoutTest, LayoutsSwitchedByKeysHoldThenAndAfterwards) {
    Run("setxkbmap -layout us,de -option grp:alt_shift_toggle");
    Hold();
    ExpectMeaning(KEY_Y, 'y');
    hand->Press(KEY_LEFTALT);
    hand->Type(KEY_LEFTSHIFT);
    hand->Release(KEY_LEFTALT);
    ExpectMeaning(KEY_Y, 'z');
    EXPECT_EQ(LockedGroup(kSessionKeyboard), 1);
    tap->LetGo(*hand);
    ExpectMeaning(KEY_Y, 'z');
    EXPECT_EQ(LockedGroup(kSessionKeyboard), 1);
}

TEST_F(X11LayoutTest, LayoutsSwitchedByAProgramHoldThenAndAfterwards) {
    Run("setxkbmap -layout us,de");
    Hold();
    LockGroup(1);
    ExpectMeaning(KEY_Y, 'z');
    tap->LetGo(*hand);
    ExpectMeaning(KEY_Y, 'z');
    EXPECT_EQ(LockedGroup(kSessionKeyboard), 1);
}

TEST_F(X11LayoutTest, ASecondLayoutThatWasInUseStaysSo) {
    Run("setxkbmap -layout us,de");
    LockGroup(1);
    ExpectMeaning(KEY_Y, 'z');
    Hold();
    ExpectMeaning(KEY_Y, 'z');
    tap->LetGo(*hand);
    ExpectMeaning(KEY_Y, 'z');
}

TEST_F(X11LayoutTest, SeveralLayoutsOfOneKeyboardAreSwitchedByItsKeys) {
    Run("setxkbmap -device " + OwnKeyboard() + " -layout us,de -option grp:alt_shift_toggle");
    Hold();
    ExpectMeaning(KEY_Y, 'y');
    hand->Press(KEY_LEFTALT);
    hand->Type(KEY_LEFTSHIFT);
    hand->Release(KEY_LEFTALT);
    ExpectMeaning(KEY_Y, 'z');
    tap->LetGo(*hand);
    ExpectMeaning(KEY_Y, 'z');
}

// Disabled and enabled

TEST_F(X11LayoutTest, AKeyboardDisabledAndEnabledWithKeysDownWorks) {
    Hold();
    hand->Press(KEY_LEFTSHIFT);
    hand->Press(KEY_A);
    EXPECT_THAT(Keys(2), ElementsAre("+42", "+30"));
    hand->SetEnabled(false);
    ExpectNothingDown();
    hand->SetEnabled(true);
    ASSERT_TRUE(Await([&] { return hand->IsHeld(); }));
    hand->Release(KEY_A);
    hand->Release(KEY_LEFTSHIFT);
    ExpectNothingDown();
    ExpectMeaning(KEY_Y, 'y');
    tap->LetGo(*hand);
    ExpectNothingDown();
    ExpectMeaning(KEY_Y, 'y');
}

TEST_F(X11LayoutTest, AKeyboardDisabledAndEnabledWhileGivenBackWithAKeyDownIsNotStuck) {
    Hold();
    hand->Press(KEY_A);
    Keys(1);
    tap->LetGo(*hand);
    hand->SetEnabled(false);
    ExpectNothingDown();
    hand->SetEnabled(true);
    ExpectMeaning(KEY_A, 'a');
    ExpectNothingDown();
}

/// The tap hears of all of it when it is over.
TEST_F(X11LayoutTest, AKeyboardDisabledAndEnabledTwiceAtOnceIsStillHeld) {
    Hold();
    for (const bool isEnabled : {false, true, false, true}) {
        hand->SetEnabled(isEnabled);
    }
    ASSERT_TRUE(Await([&] { return hand->IsHeld(); }));
    ExpectMeaning(KEY_Y, 'y');
    tap->LetGo(*hand);
    ExpectMeaning(KEY_Y, 'y');
}

/// The server would not survive the first key of a keyboard whose holder is gone.
TEST_F(X11LayoutTest, AKeyboardWhoseHolderEndsWhileItIsDisabledWorks) {
    Hold();
    hand->SetEnabled(false);
    TurnRunLoop(0.05);
    tap.reset();
    hand->SetEnabled(true);
    ExpectMeaning(KEY_Y, 'y');
    ExpectNothingDown();
}

// Lights

TEST_F(X11LayoutTest, TheLightOfCapsLockIsTheSessions) {
    Hold();
    hand->Type(KEY_CAPSLOCK);
    Keys(2);
    for (const xcb_xkb_device_spec_t device :
         {kSessionKeyboard, xcb_xkb_device_spec_t{hand->Keyboard()}}) {
        EXPECT_EQ(LightsOf(device) & 1, 1u) << device;
    }
    tap->LetGo(*hand);
    hand->Type(KEY_A);
    Keys(4);
    EXPECT_EQ(LightsOf(kSessionKeyboard) & 1, 1u);
    EXPECT_EQ(LightsOf(hand->Keyboard()) & 1, 1u);
    Hold();
    hand->Type(KEY_CAPSLOCK);
    Keys(6);
    EXPECT_EQ(LightsOf(kSessionKeyboard) & 1, 0u);
    tap->LetGo(*hand);
    hand->Type(KEY_A);
    Keys(8);
    EXPECT_EQ(LightsOf(kSessionKeyboard) & 1, 0u);
    EXPECT_EQ(LightsOf(hand->Keyboard()) & 1, 0u);
}

// Repeating

class X11RepeatingTest : public X11LayoutTest {
  protected:
    std::vector<xcb_xkb_device_spec_t> Keyboards() {
        return {kSessionKeyboard, hand->Keyboard(),
                keyboard::x11::KeyboardForPrograms(Connection()).value()};
    }
    /// Of the session, once a key of the hand's keyboard has reached it.
    void ExpectRepeating(const Repeating& expected) {
        hand->Type(KEY_B);
        hand->client.Sync();
        EXPECT_EQ(RepeatingOf(kSessionKeyboard), expected);
    }
};

TEST_F(X11RepeatingTest, TheTapChangesNothing) {
    Run("xset r rate 321 17");
    Run("xset -r 38");
    hand->Type(KEY_B);
    Keys(2);
    std::vector<Repeating> before;
    for (const auto device : Keyboards()) {
        before.push_back(RepeatingOf(device));
    }
    Hold();
    hand->Type(KEY_B);
    Keys(4);
    tap->LetGo(*hand);
    hand->Type(KEY_B);
    Keys(6);
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(RepeatingOf(Keyboards()[i]), before[i]) << Keyboards()[i];
    }
}

TEST_F(X11RepeatingTest, ARateSetMeanwhileStays) {
    Hold();
    Run("xset r rate 321 17");
    const Repeating set = RepeatingOf(kSessionKeyboard);
    ASSERT_EQ(set.delay, 321);
    tap->LetGo(*hand);
    ExpectRepeating(set);
}

TEST_F(X11RepeatingTest, SwitchedOffMeanwhileItStaysOff) {
    Hold();
    Run("xset r off");
    tap->LetGo(*hand);
    hand->Type(KEY_B);
    hand->client.Sync();
    EXPECT_FALSE(RepeatingOf(kSessionKeyboard).isOn);
}

TEST_F(X11RepeatingTest, SwitchedOffForAKeyMeanwhileItStaysOff) {
    Hold();
    Run("xset -r 38");
    const Repeating set = RepeatingOf(kSessionKeyboard);
    tap->LetGo(*hand);
    ExpectRepeating(set);
}

}  // namespace
}  // namespace kivo::test
