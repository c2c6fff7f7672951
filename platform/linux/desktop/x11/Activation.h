#pragma once

#include "desktop/Desktop.h"
#include "desktop/x11/WindowManager.h"

namespace kivo::desktop::x11 {

/// See `Desktop::MakeMain`. Asks the window manager as a pager does, so that a minimised window
/// is restored and no protection against windows that steal the focus stands in the way.
/// `kRefused` without a window manager, or when it did not do it in time.
Status Activate(Connection& connection, WindowManager& manager, xcb_window_t window);

}  // namespace kivo::desktop::x11
