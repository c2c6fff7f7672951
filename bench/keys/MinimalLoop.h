#pragma once

#include "platform/linux/keyboard/x11/InputDevices.h"
#include "tests/desktop/Process.h"

namespace kivo::bench {

/// The least that holding keys can cost: a process that grabs the keyboard, asks another process
/// about each event by 24 bytes over a socket, waits for the one byte of the answer, and types the
/// key. It lives as long as this object.
class MinimalLoop {
  public:
    explicit MinimalLoop(keyboard::x11::DeviceNumber keyboard);

  private:
    test::Process mAnswering;
    test::Process mHolding;
};

}  // namespace kivo::bench
