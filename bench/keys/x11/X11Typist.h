#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "bench/keys/Typist.h"
#include "platform/linux/keyboard/x11/InputDevices.h"
#include "tests/desktop/XSession.h"

namespace kivo::bench {

/// A virtual X session, a hand on its keyboard and an application's window, each with a connection
/// of its own.
class X11Typist final : public Typist {
  public:
    X11Typist();

    std::optional<double> Type() override;
    void AwaitHeld(bool isHeld) override;
    MinimalLoop StartLoop() override;

  private:
    void Send(bool isDown);
    bool AwaitEvent(std::uint8_t type);

    const std::unique_ptr<test::XServer> mServer;
    test::XClient mHand;
    test::XClient mApplication;
    keyboard::x11::DeviceNumber mKeyboard = 0;
    std::uint8_t mFirstEvent = 0;
    unsigned mTyped = 0;
    std::uint8_t mKeycode = 0;  ///< of the key that is being typed
};

}  // namespace kivo::bench
