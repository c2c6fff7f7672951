#pragma once

#include "desktop/x11/Properties.h"

namespace kivo::desktop::x11 {

/// Tells whether a window manager runs that keeps to the EWMH. Without one nothing that the root
/// window says of windows counts: it may be what a dead one left.
class WindowManager {
  public:
    /// The requests that go out with the others of a question. The window that proved the manager
    /// last time is asked along, so that the proof mostly needs no further round trip.
    class Check {
      public:
        Check(Question& question, xcb_window_t expected);

      private:
        friend class WindowManager;
        const xcb_window_t mExpected;
        PropertyRequest mOnRoot;
        PropertyRequest mOnExpected;
    };

    Check Ask(Question& question) const { return {question, mProof}; }

    /// Takes the answers. False also when the server does not answer.
    bool IsRunning(Question& question, Check& check);

  private:
    xcb_window_t mProof = XCB_WINDOW_NONE;
};

}  // namespace kivo::desktop::x11
