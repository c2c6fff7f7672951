#pragma once

#include <ApplicationServices/ApplicationServices.h>
#include <linux/input-event-codes.h>
#include <xcb/xcb.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/CFRef.h"
#include "platform/linux/keyboard/x11/InputDevices.h"
#include "tests/desktop/XSession.h"

namespace kivo::test {

using keyboard::KeyCode;

/// A hand on the X server's own keyboard: what it types comes from a keyboard and not from a
/// program, as far as the server and everybody else can tell.
class Hand {
  public:
    Hand();

    void Press(KeyCode code) { Do(code, true); }
    void Release(KeyCode code) { Do(code, false); }
    void Type(KeyCode code);
    keyboard::x11::DeviceNumber Keyboard() const { return mKeyboard; }
    /// Whether somebody holds the keyboard: it is then cut off from the session.
    bool IsHeld();
    /// Disables and enables the keyboard, as the server does on suspending and resuming.
    void SetEnabled(bool isEnabled);

    XClient client;

  private:
    void Do(KeyCode code, bool isDown);

    keyboard::x11::DeviceNumber mKeyboard = 0;
    std::uint8_t mFirstEvent = 0;
};

/// An application that has the keyboard focus and keeps what it is told of keys: "+30" for a press
/// and "-30" for a release by the kernel's code; a press that comes again is a repeat, "*30".
class KeyLog {
  public:
    KeyLog();

    std::vector<std::string> Keys();
    /// The symbols that the presses mean in the session's layout now, of the group that it had
    /// then.
    std::vector<xcb_keysym_t> Symbols();
    void Clear();

  private:
    struct KeyPress {
        std::uint8_t keycode;
        std::size_t group;
    };

    void Read();

    XClient mClient;
    xcb_window_t mWindow;
    std::vector<std::string> mKeys;
    std::vector<KeyPress> mPresses;
    std::vector<bool> mDown = std::vector<bool>(256);
};

/// A tap in this process, and what it was shown: "+00" and "-00" by virtual key code in hex, "*00"
/// for a repeat, "time-out" and "user input" when it was disabled.
class TestTap {
  public:
    TestTap();
    ~TestTap();
    TestTap(const TestTap&) = delete;
    TestTap& operator=(const TestTap&) = delete;

    bool Exists() const { return static_cast<bool>(mPort); }
    bool IsEnabled() const { return CGEventTapIsEnabled(mPort.Get()); }
    /// Has the keyboards held, or given back, and waits until they are.
    void Hold(Hand& hand);
    void LetGo(Hand& hand);

    std::function<bool(const std::string&)> judge = [](const std::string&) { return true; };
    std::vector<std::string> shown;
    CGEventFlags lastFlags = 0;

  private:
    static CGEventRef Entry(CGEventTapProxy, CGEventType type, CGEventRef event, void* self);

    CFRef<CFMachPortRef> mPort;
    CFRef<CFRunLoopSourceRef> mSource;
};

}  // namespace kivo::test
