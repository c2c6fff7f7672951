// Random hands, answers and failures, and what must hold whenever nothing waits: the session has no
// key down that is up in the hand, and with a judge that lets everything through exactly those that
// are down in the hand. Only the escape chord's last key and what the guard released are missing.

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "keyboard/KeyGate.h"

namespace kivo::test {
namespace {

using keyboard::Action;
using keyboard::DeviceID;
using keyboard::DisabledBy;
using keyboard::KeyCode;
using keyboard::KeyGate;
using keyboard::PressedBy;
using keyboard::TappedKey;

using Key = std::pair<DeviceID, KeyCode>;
using Keys = std::set<Key>;

/// The keys of each keyboard; one is on both.
const std::map<DeviceID, std::vector<KeyCode>> kKeyboards = {
    {1, {KEY_A, KEY_LEFTSHIFT, KEY_HENKAN, KEY_VOLUMEUP, KEY_ESC, KEY_BACKSPACE, KEY_ENTER}},
    {2, {KEY_A, KEY_C, KEY_RIGHTALT, KEY_UP}},
};

/// Two keyboards, the hands on them, a session, and a source of events that does what the gate's
/// users do.
class World final : keyboard::KeySession, keyboard::KeyJudge {
  public:
    World(unsigned seed, bool swallows, bool slips = true)
        : mRandom(seed), mSwallows(swallows), mSlips(slips) {}

    void Step() {
        Act();
        while (mDepth == 0 && mGate.HasWork() && !Chance(3)) {
            mGate.DecideNext();
        }
    }

    void LetGoOfAllKeys() {
        mIsAtRest = true;
        while (!mHand.empty()) {
            Change(*mHand.begin(), Action::kRelease);
        }
        Settle();
    }

    void Settle() {
        while (mGate.HasWork()) {
            mGate.DecideNext();
        }
    }

    Keys Session() const {
        Keys all = mByKeyboard;
        all.insert(mByGate.begin(), mByGate.end());
        return all;
    }
    const Keys& Hand() const { return mHand; }
    Keys HandWithoutDenied() const {
        Keys keys;
        std::set_difference(mHand.begin(), mHand.end(), mDenied.begin(), mDenied.end(),
                            std::inserter(keys, keys.end()));
        return keys;
    }
    int Asked() const { return mAsked; }

  private:
    int Roll(int sides) { return std::uniform_int_distribution<int>(0, sides - 1)(mRandom); }
    bool Chance(int oneIn) { return Roll(oneIn) == 0; }

    void Act() {
        switch (Roll(40)) {
            case 0:
                return mIsHeld ? GiveBack() : Take();
            case 1:
                return Take();
            case 2:
                return Guard();
            case 3:
                return Unplug(static_cast<DeviceID>(1 + Roll(2)));
            case 4:
                return Slip(static_cast<DeviceID>(1 + Roll(2)));
            default:
                return Type();
        }
    }

    void Type() {
        const auto device = static_cast<DeviceID>(1 + Roll(2));
        const std::vector<KeyCode>& codes = kKeyboards.at(device);
        const Key key{device,
                      codes[static_cast<std::size_t>(Roll(static_cast<int>(codes.size())))]};
        if (!mHand.contains(key))
            Change(key, Action::kPress);
        else
            Change(key, Chance(3) ? Action::kRepeat : Action::kRelease);
    }

    /// What the hand does reaches the session by the gate or, when nobody holds the keyboard, by
    /// itself; then the gate listens for as long as something is owed.
    void Change(Key key, Action action) {
        if (action == Action::kPress) mHand.insert(key);
        if (action == Action::kRelease) {
            mHand.erase(key);
            mDenied.erase(key);
        }
        if (!mIsHeld && !mIsLate) {
            if (action == Action::kPress) mByKeyboard.insert(key);
            if (action == Action::kRelease) mByKeyboard.erase(key);
        }
        if (!mIsHeld && !mListened.contains(key.first)) return;
        const keyboard::KeyEvent event{key.first, key.second, action};
        mIsHeld || mIsLate ? mGate.Feed(event) : mGate.Overhear(event);
        if (!mGate.IsEnabled() && mIsHeld) {
            mDenied.insert(key);  // it completed the escape chord
            NoLongerHeld();
        }
        if (!mIsLate) LeaveWhatOwesNothing();
    }

    std::vector<KeyCode> DownOn(DeviceID device) const {
        std::vector<KeyCode> codes;
        for (const Key& key : mHand) {
            if (key.first == device) codes.push_back(key.second);
        }
        return codes;
    }

    void Take() {
        if (mIsHeld) return;
        mGate.Enable();
        for (const auto& [device, codes] : kKeyboards) {
            mGate.Open(device, DownOn(device));
        }
        mGate.Hold();
        mIsHeld = true;
    }

    void NoLongerHeld() {
        mIsHeld = false;
        mListened = {1, 2};
    }

    /// What was typed just before that is fed just after it.
    void GiveBack() {
        mGate.LetGo();
        NoLongerHeld();
        mIsLate = true;
        for (int events = Roll(4); events > 0; --events) {
            Type();
        }
        mIsLate = false;
        LeaveWhatOwesNothing();
    }

    void LeaveWhatOwesNothing() {
        if (mIsHeld) return;
        for (auto device = mListened.begin(); device != mListened.end();) {
            if (mGate.IsOwing(*device)) {
                ++device;
                continue;
            }
            mGate.Leave(*device);
            device = mListened.erase(device);
        }
    }

    void Guard() {
        if (!mIsHeld) return;
        mGate.Forget();
        mGate.Disable(DisabledBy::kTimeout);
        NoLongerHeld();
        mListened.clear();
        mByGate.clear();
        // What the session had from the keyboards the guard puts right by itself; the rest is up
        // there, as in the session of a keyboard that was just plugged in.
        for (const Key& key : mHand) {
            if (mByKeyboard.contains(key)) continue;
            mDenied.insert(key);
            mMissing.insert(key);
        }
        std::erase_if(mByKeyboard, [this](const Key& key) { return !mHand.contains(key); });
    }

    void Unplug(DeviceID device) {
        const auto isIts = [device](const Key& key) { return key.first == device; };
        std::erase_if(mHand, isIts);
        std::erase_if(mDenied, isIts);
        std::erase_if(mByKeyboard, isIts);
        if (!mIsHeld && !mListened.contains(device)) return;
        mGone.insert(device);
        mGate.Close(device);
        mListened.erase(device);
    }

    /// The keyboard slips out of the hold for a while, and what is typed on it meanwhile reaches
    /// the session without the gate.
    void Slip(DeviceID device) {
        if (!mIsHeld || !mSlips) return;
        // The release of a key that waits while the keyboard itself presses the key anew takes that
        // press along: nothing is stuck then, but the key is missing.
        if (!mSwallows && (mDepth > 0 || mGate.HasWork())) return;
        for (const KeyCode code : kKeyboards.at(device)) {
            const Key key{device, code};
            if (!Chance(3)) continue;
            const bool isUp = mHand.erase(key) > 0;
            if (isUp) {
                mDenied.erase(key);
                mByKeyboard.erase(key);
            } else {
                mHand.insert(key);
                mByKeyboard.insert(key);
            }
            mGate.Overhear({device, code, isUp ? Action::kRelease : Action::kPress});
        }
    }

    void Press(DeviceID device, KeyCode code) override {
        const bool isNew = mByGate.insert({device, code}).second;
        EXPECT_TRUE(isNew) << "pressed twice: " << code;
    }
    void Release(DeviceID device, KeyCode code, PressedBy by) override {
        Keys& keys = by == PressedBy::kGate ? mByGate : mByKeyboard;
        const bool wasDown = keys.erase({device, code}) > 0;
        // A keyboard that is gone took what the session had from it along, and what slipped out of
        // the hold went up there by itself.
        const bool isMissing = mMissing.erase({device, code}) > 0 || mGone.contains(device);
        if (by == PressedBy::kGate || !(isMissing || mSlips)) {
            EXPECT_TRUE(wasDown) << "released twice: " << code;
        }
    }
    void Close(DeviceID device) override { mGone.erase(device); }

    bool LetsThrough(const TappedKey&) override {
        ++mAsked;
        EXPECT_EQ(mDepth, 0) << "asked while asking";
        ++mDepth;
        for (int events = !mIsAtRest && Chance(3) ? Roll(4) : 0; events > 0; --events) {
            Act();
        }
        --mDepth;
        return !mSwallows || !Chance(3);
    }
    void TapDisabled(DisabledBy) override { EXPECT_FALSE(mGate.IsEnabled() && mDepth > 0); }

    std::mt19937 mRandom;
    const bool mSwallows;
    const bool mSlips;
    KeyGate mGate{*this, *this};
    Keys mHand;
    Keys mByKeyboard;
    Keys mByGate;
    /// What is down in the hand and was kept from the session, whatever the answers were.
    Keys mDenied;
    std::set<DeviceID> mListened;
    /// Unplugged, which the session was not told yet.
    std::set<DeviceID> mGone;
    /// What the gate takes for the keyboard's own although the guard has released it.
    Keys mMissing;
    bool mIsHeld = false;
    /// The keyboards are still held when something is typed, but the gate does not hold any more.
    bool mIsLate = false;
    /// Nothing happens any more by itself.
    bool mIsAtRest = false;
    int mDepth = 0;
    int mAsked = 0;
};

class KeyGateProperty : public testing::TestWithParam<unsigned> {};

/// Plays random steps; `check` is called whenever nothing waits.
template <typename Check>
void Play(World& world, Check check) {
    for (int step = 0; step < 2000 && !testing::Test::HasFailure(); ++step) {
        world.Step();
        if (step % 7 != 0) continue;
        world.Settle();
        check(step);
    }
    if (testing::Test::HasFailure()) return;
    world.LetGoOfAllKeys();
    EXPECT_EQ(world.Session(), Keys{});
    EXPECT_GT(world.Asked(), 50);
}

TEST_P(KeyGateProperty, NothingIsStuckInTheSession) {
    World world(GetParam(), true);
    Play(world, [&](int step) {
        for (const Key& key : world.Session()) {
            EXPECT_TRUE(world.Hand().contains(key)) << key.second << " after step " << step;
        }
    });
}

TEST_P(KeyGateProperty, TheSessionFollowsTheHand) {
    World world(GetParam(), false);
    Play(world, [&](int step) {
        EXPECT_EQ(world.Session(), world.HandWithoutDenied()) << "after step " << step;
    });
}

/// A keyboard that releases a key which the session does not have down would type it there.
TEST_P(KeyGateProperty, OnlyWhatIsDownIsReleased) {
    World world(GetParam(), true, false);
    Play(world, [](int) {});
}

INSTANTIATE_TEST_SUITE_P(Seeds, KeyGateProperty, testing::Range(1u, 101u));

}  // namespace
}  // namespace kivo::test
