#pragma once

#include <cstdint>

#include "keyboard/guard/GuardProtocol.h"

namespace kivo::keyboard {

/// Tells by the daemon's beats, which it is shown every `kLook`, when the daemon makes no progress
/// any more.
class Lookout {
  public:
    /// Progress is expected from now on.
    void Begin(std::uint32_t beats) {
        mLastBeats = beats;
        mLooksInVain = 0;
    }

    /// One look. Whether it is the last of `kLooksWithoutProgress` in a row in vain.
    bool IsInVain(std::uint32_t beats) {
        mLooksInVain = beats == mLastBeats ? mLooksInVain + 1 : 0;
        mLastBeats = beats;
        return mLooksInVain == kLooksWithoutProgress;
    }

  private:
    std::uint32_t mLastBeats = 0;
    int mLooksInVain = 0;
};

}  // namespace kivo::keyboard
