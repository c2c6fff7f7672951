#pragma once

#include <optional>

#include "desktop/Desktop.h"
#include "desktop/x11/Properties.h"

namespace kivo::desktop::x11 {

/// The primary monitor, being asked for. The first monitor where none is marked, and the whole
/// screen of a server that knows no monitors.
class PrimaryMonitor {
  public:
    explicit PrimaryMonitor(Question& question);

    /// Its place within the root window; none without a monitor or an answer.
    std::optional<Rect> Take();

  private:
    std::optional<Pending<xcb_randr_get_monitors_cookie_t>> mMonitors;
    std::optional<Pending<xcb_get_geometry_cookie_t>> mRoot;
};

/// See `Desktop::Frame`.
Status ReadFrame(Question& question, xcb_window_t window, Rect& frame);

/// See `Desktop::Pointer`.
std::optional<Point> ReadPointer(Question& question);

}  // namespace kivo::desktop::x11
