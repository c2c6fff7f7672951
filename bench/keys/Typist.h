#pragma once

#include <optional>

#include "bench/keys/MinimalLoop.h"

namespace kivo::bench {

/// A hand on a keyboard and an application that waits for what it types. Throws when the session
/// does not do what it must.
class Typist {
  public:
    virtual ~Typist() = default;
    /// Types a key and returns the microseconds from its press to the application's notice of it;
    /// nothing when it never came there, as when the control center had no answer in time.
    virtual std::optional<double> Type() = 0;
    /// Waits until somebody holds the keyboard, or nobody does.
    virtual void AwaitHeld(bool isHeld) = 0;
    /// The least loop that could hold this keyboard.
    virtual MinimalLoop StartLoop() = 0;
};

}  // namespace kivo::bench
