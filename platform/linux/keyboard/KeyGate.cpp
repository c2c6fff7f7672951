#include "keyboard/KeyGate.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <array>
#include <vector>

namespace kivo::keyboard {
namespace {

constexpr std::array<KeyCode, 3> kEscapeChord = {KEY_BACKSPACE, KEY_ESC, KEY_ENTER};

}  // namespace

std::optional<VirtualKey> KeyToAskAbout(KeyCode code) {
    if (IsMachineKey(code) || ModifierFlags::IsModifier(code)) return std::nullopt;
    return VirtualKeyOf(code);
}

void KeyGate::LetGo() {
    PassAllWaiting();
    mIsHolding = false;
}

void KeyGate::Disable(DisabledBy reason) {
    if (!mIsEnabled) return;
    PassAllWaiting();
    mIsEnabled = false;
    mNotice = reason;
}

void KeyGate::Open(DeviceID device, std::span<const KeyCode> keysDown) {
    const std::set<KeyCode> down(keysDown.begin(), keysDown.end());
    const std::set<Key> before = mHand;
    for (const Key& key : before) {
        if (key.device == device && !down.contains(key.code)) MissRelease(key);
    }
    for (const KeyCode code : down) {
        if (!mHand.contains({device, code})) Overhear({device, code, Action::kPress});
    }
}

void KeyGate::Feed(const KeyEvent& fed) {
    const KeyEvent event = Straighten(fed);
    if (!IsActive()) return Apply(event, true);
    if (event.action == Action::kPress && IsEscapeChord(event.code)) {
        Disable(DisabledBy::kUserInput);
        return PutDown({event.device, event.code}, std::nullopt);
    }
    if (MayOvertake(event)) return Apply(event, true);
    mWaiting.push_back({event});
}

void KeyGate::Overhear(const KeyEvent& event) {
    PassOrWait({Straighten(event), Kind::kOverheard});
}

void KeyGate::Close(DeviceID device) {
    const std::set<Key> before = mHand;
    for (const Key& key : before) {
        if (key.device == device) MissRelease(key);
    }
    PassOrWait({{device}, Kind::kEnd});
}

void KeyGate::Leave(DeviceID device) {
    std::erase_if(mHand, [device](const Key& key) { return key.device == device; });
    for (auto one = mDown.begin(); one != mDown.end();) {
        const Key key = (one++)->first;
        if (key.device == device) TakeUp(key);
    }
}

void KeyGate::Forget() {
    mWaiting.clear();
    mAnswerIsVoid = true;
    mHand.clear();
    while (!mDown.empty()) {
        TakeUp(mDown.begin()->first);
    }
}

void KeyGate::DecideNext() {
    if (!HasWork()) return;
    if (mWaiting.empty()) {
        const DisabledBy reason = *mNotice;
        mNotice.reset();
        mIsAsking = true;
        mJudge.TapDisabled(reason);
        mIsAsking = false;
        return;
    }
    const Waiting next = mWaiting.front();
    const auto key = KeyToAskAbout(next.event.code);
    if (next.kind == Kind::kEvent && key) return Ask(next.event, *key);
    mWaiting.pop_front();
    Pass(next);
}

bool KeyGate::IsOwing(DeviceID device) const {
    return std::any_of(mDown.begin(), mDown.end(), [device](const auto& one) {
        return one.first.device == device && one.second != PressedBy::kDevice;
    });
}

bool KeyGate::IsEscapeChord(KeyCode code) const {
    const auto isHeld = [this](KeyCode wanted) {
        return std::any_of(mHand.begin(), mHand.end(),
                           [wanted](const Key& key) { return key.code == wanted; });
    };
    return std::find(kEscapeChord.begin(), kEscapeChord.end(), code) != kEscapeChord.end() &&
           std::all_of(kEscapeChord.begin(), kEscapeChord.end(), isHeld);
}

/// The machine's keys overtake all others, but neither themselves nor the end of their keyboard.
bool KeyGate::MayOvertake(const KeyEvent& event) const {
    return IsMachineKey(event.code) &&
           std::none_of(mWaiting.begin(), mWaiting.end(), [&](const Waiting& waiting) {
               return waiting.event.device == event.device &&
                      (waiting.kind == Kind::kEnd || waiting.event.code == event.code);
           });
}

/// Makes the event agree with the hand, in case that others were lost: a second press is a repeat,
/// and the repeat of a key that is up is its press.
KeyEvent KeyGate::Straighten(KeyEvent event) {
    const Key key{event.device, event.code};
    if (event.action == Action::kRelease) {
        mHand.erase(key);
    } else {
        event.action = mHand.insert(key).second ? Action::kPress : Action::kRepeat;
    }
    return event;
}

/// A key is up, and nobody saw it go. It is asked about all the same while the gate holds.
void KeyGate::MissRelease(Key key) {
    const KeyEvent release{key.device, key.code, Action::kRelease};
    if (IsActive()) return Feed(release);
    Overhear(release);
}

/// Of an event that the session got from the keyboard itself: only what it has from here is owed.
void KeyGate::TakeNote(const KeyEvent& event) {
    const Key key{event.device, event.code};
    if (event.action == Action::kPress) PutDown(key, PressedBy::kDevice);
    if (event.action != Action::kRelease) return;
    const auto down = mDown.find(key);
    if (down == mDown.end()) return;
    if (down->second == PressedBy::kGate) ReleaseInSession(key, down->second);
    TakeUp(key);
}

void KeyGate::PassAllWaiting() {
    // The event that is being asked about is still the first.
    mAnswerIsVoid = true;
    while (!mWaiting.empty()) {
        const Waiting next = mWaiting.front();
        mWaiting.pop_front();
        Pass(next);
    }
}

void KeyGate::Ask(const KeyEvent& event, VirtualKey key) {
    const TappedKey tapped{.virtualCode = key.code,
                           .flags = mFlags.Flags() | key.flags,
                           .isDown = event.action != Action::kRelease,
                           .isRepeat = event.action == Action::kRepeat};
    mIsAsking = true;
    mAnswerIsVoid = false;
    const bool isLetThrough = mJudge.LetsThrough(tapped);
    mIsAsking = false;
    if (mAnswerIsVoid) return;
    mWaiting.pop_front();
    Apply(event, isLetThrough);
}

void KeyGate::PassOrWait(const Waiting& waiting) {
    if (IsActive())
        mWaiting.push_back(waiting);
    else
        Pass(waiting);
}

void KeyGate::Pass(const Waiting& waiting) {
    const KeyEvent& event = waiting.event;
    switch (waiting.kind) {
        case Kind::kEvent:
            return Apply(event, true);
        case Kind::kOverheard:
            return TakeNote(event);
        case Kind::kEnd:
            return mSession.Close(event.device);
    }
}

void KeyGate::Apply(const KeyEvent& event, bool isLetThrough) {
    const Key key{event.device, event.code};
    const auto down = mDown.find(key);
    if (event.action == Action::kPress) {
        if (down != mDown.end()) return;
        if (isLetThrough) mSession.Press(key.device, key.code);
        PutDown(key, isLetThrough ? Holder(PressedBy::kGate) : std::nullopt);
        return;
    }
    if (down == mDown.end()) return;
    const bool isUp = event.action == Action::kRelease;
    // The session repeats keys that it has down by itself, until it is told that they are up.
    if (isUp || !isLetThrough) ReleaseInSession(key, down->second);
    if (isUp) TakeUp(key);
}

void KeyGate::PutDown(Key key, Holder holder) {
    if (mDown.insert_or_assign(key, holder).second) mFlags.Press(key.code);
}

void KeyGate::ReleaseInSession(Key key, Holder& holder) {
    if (holder) mSession.Release(key.device, key.code, *holder);
    holder.reset();
}

void KeyGate::TakeUp(Key key) {
    if (mDown.erase(key) > 0) mFlags.Release(key.code);
}

}  // namespace kivo::keyboard
