#pragma once

#include <string>
#include <vector>

#include "desktop/Desktop.h"
#include "desktop/x11/ManagedWindows.h"

namespace kivo::desktop::x11 {

/// See `Desktop::WindowsOf`. The titles come along in the same batch as what decides whether a
/// window belongs to the list. A window that closes meanwhile is left out.
Status ListWindows(Question& question, WindowManager& manager, pid_t processID,
                   std::vector<Window>& windows);

/// See `Desktop::Title`.
Status ReadTitle(Question& question, xcb_window_t window, std::string& title);

/// Whether a window's types say that it is a part of the desktop, not an application's window.
bool IsDesktopOrDock(const Atoms& names, const PropertyReply& types);

}  // namespace kivo::desktop::x11
