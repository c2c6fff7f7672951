#pragma once

#include <span>
#include <vector>

#include "desktop/x11/Question.h"

namespace kivo::desktop::x11 {

/// The ancestor of each window directly below the root window, which is the window itself where
/// nobody put it into another. None (XCB_WINDOW_NONE) for one that is gone. One round trip for each
/// window between.
std::vector<xcb_window_t> TopAncestors(Question& question, std::span<const xcb_window_t> windows);

/// Sorts windows as they lie on each other, by the server's own order: not every manager keeps its
/// list up to date when it raises a window, and some keep none. Leaves the order alone when the
/// windows cannot all be found. Windows in one frame, as in tabs, keep theirs among each other.
void SortFrontToBack(Question& question, std::vector<xcb_window_t>& windows);

}  // namespace kivo::desktop::x11
