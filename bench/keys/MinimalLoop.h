#pragma once

#include <functional>

#include "tests/desktop/Process.h"

namespace kivo::bench {

/// The least that holding keys can cost: a process that grabs the keyboard, asks another process
/// about each event by 24 bytes over a socket, waits for the one byte of the answer, and types the
/// key. It lives as long as this object.
class MinimalLoop {
  public:
    /// Asks about one event and waits for the answer.
    using Asker = std::function<void()>;
    /// `hold` is run in the holding process.
    explicit MinimalLoop(const std::function<void(const Asker&)>& hold);

  private:
    test::Process mAnswering;
    test::Process mHolding;
};

}  // namespace kivo::bench
