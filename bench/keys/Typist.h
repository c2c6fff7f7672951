#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>

#include "platform/linux/keyboard/x11/InputDevices.h"
#include "tests/desktop/XSession.h"

namespace kivo::bench {

/// A hand on the X server's keyboard and an application that waits for what it types, each with a
/// connection of its own.
class Typist {
  public:
    Typist();

    /// Types a key and returns the microseconds from its press to the application's notice of it;
    /// nothing when it never came there, as when the control center had no answer in time.
    std::optional<double> Type();
    /// Waits until somebody holds the keyboard, or nobody does.
    void AwaitHeld(bool isHeld);
    keyboard::x11::DeviceNumber Keyboard() const { return mKeyboard; }

  private:
    void Send(bool isDown);
    bool AwaitEvent(std::uint8_t type);

    test::XClient mHand;
    test::XClient mApplication;
    keyboard::x11::DeviceNumber mKeyboard = 0;
    std::uint8_t mFirstEvent = 0;
};

}  // namespace kivo::bench
