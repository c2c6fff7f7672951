#pragma once

#include <map>
#include <memory>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/KeySource.h"
#include "keyboard/guard/GuardedPoll.h"
#include "keyboard/x11/InputDevices.h"
#include "keyboard/x11/KeyboardMap.h"
#include "keyboard/x11/TypingKeyboard.h"

namespace kivo::keyboard::x11 {

/// Holds the keys of an X server: grabs each keyboard that is attached to the session's, and types
/// what is let through on the server's keyboard for programs (the extension XTEST).
///
/// A grabbed keyboard is cut off from the session, so applications and window managers see nothing
/// of what is held; the server attaches it again by itself as soon as the grab ends, also when this
/// connection breaks. It is therefore never detached by name, which would outlive the daemon. Keys
/// that programs type are not held. The server's own keys (switching consoles, ending the server)
/// act before any grab.
class X11KeySource final : public KeySource {
  public:
    /// On a connection of its own to the display of the session; null when that is no X server
    /// that can do it.
    static std::unique_ptr<X11KeySource> Open();
    ~X11KeySource() override;

    const char* Name() const override { return "X11 (XInput 2 and XTEST)"; }
    void Attach(KeyGate& gate) override { mGate = &gate; }
    int Descriptor() const override { return mPoll.Descriptor(); }
    void Read() override;
    void Hold() override;
    void LetGo() override;

    void Press(DeviceID device, KeyCode code) override;
    void Release(DeviceID device, KeyCode code, PressedBy by) override;
    void Close(DeviceID device) override;

  private:
    /// A keyboard from its grab to the last key that is owed for it. It has a number of its own at
    /// the gate, since the server gives the numbers of keyboards that went to those that come.
    struct HeldKeyboard {
        DeviceNumber number = 0;  ///< 0 when it is gone
        KeyboardMap map;
        bool isGrabbed = false;
        /// The request that took it.
        std::uint32_t grab = 0;
        /// The request that gave it back; what came before it was held.
        std::uint32_t ungrab = 0;
    };
    using Keyboards = std::map<DeviceID, HeldKeyboard>;

    explicit X11KeySource(xcb_connection_t* connection);

    void Wake();

    // Holding
    void SelectEvents(bool isListening);
    void SelectKeyboardEvents(xcb_xkb_device_spec_t keyboard, std::uint16_t kinds);
    void GrabAll();
    bool IsGrabbed(DeviceNumber number);
    bool AreAllGrabbed() const;
    Keyboards::iterator Find(DeviceNumber number);
    void Grab(DeviceNumber number);
    xcb_input_xi_grab_device_cookie_t RequestGrab(DeviceNumber number);
    bool IsGranted(DeviceNumber number, xcb_input_xi_grab_device_cookie_t request);
    void UngrabAll();
    void Ungrab(HeldKeyboard& keyboard);
    void TakeWhatWasHeld();
    void StopListening();

    // Events
    void ReadOther(int descriptor);
    bool ReadServer();
    int TakeEvents(xcb_generic_event_t* (*poll)(xcb_connection_t*));
    static bool IsOldNews(const HeldKeyboard& keyboard, std::uint32_t sequence);
    void TakeEvent(const xcb_generic_event_t& event);
    void TakeInputEvent(const xcb_ge_generic_event_t& event);
    void TakeKey(const void* event, Action action);
    void TakeRawKey(const void* event, Action action);
    void TakeHierarchy(const void* event);
    void TakeKeyboardEvent(const xcb_generic_event_t& event);

    // Maps
    KeyboardMap* MapOf(DeviceID keyboard);
    void SpreadChangedMap();
    void ReadCapsLock();
    void CopySessionsRepeatRate();

    // The guard
    void StartGuard();
    void ReadGuard();
    void LoseGuard();
    void HaveFreed();
    void Lose();

    xcb_connection_t* const mConnection;
    const xcb_window_t mRoot;
    /// What the guard names to have this connection closed.
    const xcb_window_t mResource;
    TypingKeyboard mTyping;
    KeyGate* mGate = nullptr;
    GuardedPoll mPoll;
    GuardLink& mGuard = mPoll.Guard();
    int mTurnsOfKeys = 0;
    bool mIsGuardReady = false;
    bool mIsHolding = false;
    bool mIsListening = false;
    bool mIsLost = false;
    bool mIsFreed = false;
    int mGuardsToFree = 0;
    Keyboards mKeyboards;
    DeviceID mLastID = 0;
};

}  // namespace kivo::keyboard::x11
