#pragma once

#include <linux/input.h>

#include <optional>

#include "CoreFoundation/FileDescriptor.h"

namespace kivo::keyboard::evdev {

/// A second reader of a keyboard's node: it gets what everybody gets, so nothing while the first
/// reader has the keyboard grabbed. By what it heard last and first that one finds, to the event,
/// where its grab began and ended among what it has read. The kernel stamps an event once for all
/// who read it by the same clock.
class Witness {
  public:
    /// Listens from now on to the node that is open in `descriptor`; invalid with errno set when
    /// this process may not open it again.
    explicit Witness(int descriptor);
    explicit operator bool() const { return static_cast<bool>(mDescriptor); }

    /// Takes in what has come since the last time.
    void Listen();
    /// Of what came the last time.
    const std::optional<input_event>& First() const { return mFirst; }
    /// Of all that has come.
    const std::optional<input_event>& Last() const { return mLast; }

  private:
    FileDescriptor mDescriptor;
    std::optional<input_event> mFirst;
    std::optional<input_event> mLast;
};

}  // namespace kivo::keyboard::evdev
