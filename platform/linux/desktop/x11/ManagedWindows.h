#pragma once

#include <vector>

#include "desktop/x11/ProcessIDs.h"
#include "desktop/x11/WindowManager.h"

namespace kivo::desktop::x11 {

/// A window that the window manager manages, and the process that made it (-1 if nobody can tell).
struct ManagedWindow {
    xcb_window_t window;
    pid_t processID;
};

/// The managed windows at this moment: one round trip, and one more where a window's process is
/// known by its claim only. Empty without a window manager, or when the server does not answer.
class ManagedWindows {
  public:
    ManagedWindows(Question& question, WindowManager& manager);

    /// In stacking order as far as the manager keeps it, otherwise the one managed last first.
    const std::vector<ManagedWindow>& FrontToBack() const { return mFrontToBack; }

    /// The present workspace. None when windows need not be told apart by it.
    std::optional<std::uint32_t> Workspace() const { return mWorkspace; }

  private:
    void Fill(Question& question, const std::vector<xcb_window_t>& backToFront,
              ProcessIDs& processIDs);
    static void AskClaims(Question& question, std::vector<ManagedWindow*>& unknown);

    std::vector<ManagedWindow> mFrontToBack;
    std::optional<std::uint32_t> mWorkspace;
};

}  // namespace kivo::desktop::x11
