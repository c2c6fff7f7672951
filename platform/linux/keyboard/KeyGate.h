#pragma once

#include <compare>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <span>

#include "keyboard/KeyCodes.h"
#include "keyboard/ModifierFlags.h"

namespace kivo::keyboard {

/// A keyboard, as the source of key events numbers it.
using DeviceID = std::uint32_t;

/// What happened to a key, with the values of the kernel's EV_KEY events.
enum class Action : std::uint8_t { kRelease = 0, kPress = 1, kRepeat = 2 };

struct KeyEvent {
    DeviceID device = 0;
    KeyCode code = 0;
    Action action = Action::kRelease;
};

/// What the judge is told of an event.
struct TappedKey {
    std::uint16_t virtualCode = 0;
    std::uint64_t flags = 0;
    bool isDown = false;
    bool isRepeat = false;
};

/// Why the tap was switched off, though nobody who uses it asked for that.
enum class DisabledBy {
    kUserInput,  ///< the escape chord: Backspace, Escape and Enter held together
    kTimeout,    ///< the guard had to free the keyboard
};

/// Through whom the session got a key that is down.
enum class PressedBy {
    kGate,    ///< the gate let it through
    kDevice,  ///< the keyboard itself: it was pressed when nobody held the keyboard
};

/// The session's end of the gate. None of its calls may feed the gate.
class KeySession {
  public:
    virtual ~KeySession() = default;
    virtual void Press(DeviceID device, KeyCode code) = 0;
    virtual void Release(DeviceID device, KeyCode code, PressedBy by) = 0;
    /// A keyboard that is gone has no key down any more, in the hand and in the session.
    virtual void Close(DeviceID device) = 0;
};

/// Whoever decides on keys. Both calls may run the run loop, in which the gate may be fed, opened,
/// closed, let go and disabled.
class KeyJudge {
  public:
    virtual ~KeyJudge() = default;
    virtual bool LetsThrough(const TappedKey& key) = 0;
    virtual void TapDisabled(DisabledBy reason) = 0;
};

/// The virtual key that the judge is asked about for `code`; none for modifiers, the machine's keys
/// and keys that have no virtual key.
std::optional<VirtualKey> KeyToAskAbout(KeyCode code);

/// Stands between the keyboards and the session: asks about each key event, one at a time and in
/// order, and keeps the session's keys in step with the hand whatever the answers are.
///
/// What holds always: a key that is up in the hand is up in the session once its release is
/// decided; each press that was let through is released; a release reaches the session only if the
/// session has the key down. Modifiers and keys that have no virtual key are not asked about and
/// keep their place in the order; the machine's own keys do not even wait for their turn. A key
/// stays swallowed until it is pressed anew, also when a repeat of it is let through.
///
/// The gate knows no time, no device and no thread, so a test can play any sequence to it.
class KeyGate {
  public:
    /// Both must outlive the gate.
    KeyGate(KeySession& session, KeyJudge& judge) : mSession(session), mJudge(judge) {}
    KeyGate(const KeyGate&) = delete;
    KeyGate& operator=(const KeyGate&) = delete;

    // What the tap's user wants.

    /// Events are held from now on, or again.
    void Hold() { mIsHolding = true; }
    /// What waits for an answer passes. From now on the session gets events from the keyboards
    /// themselves, and from here only the releases that are still owed.
    void LetGo();
    /// Switches the tap off until `Enable`, as `LetGo` does, and tells the judge when its turn
    /// comes.
    void Disable(DisabledBy reason);
    void Enable() { mIsEnabled = true; }
    bool IsEnabled() const { return mIsEnabled; }

    // What the keyboards say.

    /// `device` is held from now on; `keysDown` is what is pressed on it, which the session has
    /// from the keyboard itself unless the gate knows better. Comes before `Hold`, so that keys
    /// that went up unseen are not asked about; while holding, for a keyboard that is new or is
    /// held again.
    void Open(DeviceID device, std::span<const KeyCode> keysDown);
    /// What happened on a keyboard that was held then: nobody else has it, so while the gate does
    /// not hold it passes.
    void Feed(const KeyEvent& event);
    /// What the session got from the keyboard itself.
    void Overhear(const KeyEvent& event);
    /// `device` is gone: its keys are released, in their turn, and then the session's end closed.
    void Close(DeviceID device);
    /// Nobody listens to `device` from now on; for one that is not held and to which nothing is
    /// owed.
    void Leave(DeviceID device);
    void SetCapsLock(bool isOn) { mFlags.SetCapsLock(isOn); }
    bool CapsLock() const { return mFlags.CapsLock(); }

    /// The session was freed by somebody else: nothing is down there, and what waited is gone.
    void Forget();

    // The work.

    /// Whether `DecideNext` would do something. Never while the judge is being asked.
    bool HasWork() const { return !mIsAsking && (!mWaiting.empty() || mNotice); }
    /// Takes the next step: at most one question to the judge.
    void DecideNext();

    /// Whether the session got or was denied a key of `device` here that the hand still holds, so
    /// that the keyboard must still be listened to when it is not held.
    bool IsOwing(DeviceID device) const;

  private:
    struct Key {
        DeviceID device;
        KeyCode code;
        auto operator<=>(const Key&) const = default;
    };
    enum class Kind : std::uint8_t {
        kEvent,
        kOverheard,
        kEnd,  ///< of the keyboard
    };
    /// What waits for its turn.
    struct Waiting {
        KeyEvent event;
        Kind kind = Kind::kEvent;
    };
    /// Through whom the session has a key; nobody: it was swallowed.
    using Holder = std::optional<PressedBy>;

    bool IsActive() const { return mIsHolding && mIsEnabled; }
    bool IsEscapeChord(KeyCode code) const;
    bool MayOvertake(const KeyEvent& event) const;
    KeyEvent Straighten(KeyEvent event);
    void MissRelease(Key key);
    void TakeNote(const KeyEvent& event);
    void PassAllWaiting();
    void Ask(const KeyEvent& event, VirtualKey key);
    void PassOrWait(const Waiting& waiting);
    void Pass(const Waiting& waiting);
    void Apply(const KeyEvent& event, bool isLetThrough);
    void PutDown(Key key, Holder holder);
    void ReleaseInSession(Key key, Holder& holder);
    void TakeUp(Key key);

    KeySession& mSession;
    KeyJudge& mJudge;
    bool mIsHolding = false;
    bool mIsEnabled = true;
    bool mIsAsking = false;
    /// What is being asked about was passed meanwhile.
    bool mAnswerIsVoid = false;
    std::optional<DisabledBy> mNotice;
    std::deque<Waiting> mWaiting;
    /// The keys that are down in the hand, as far as was fed.
    std::set<Key> mHand;
    /// The keys that are down in the hand, as far as was decided, and who gave them to the session.
    std::map<Key, Holder> mDown;
    ModifierFlags mFlags;
};

}  // namespace kivo::keyboard
