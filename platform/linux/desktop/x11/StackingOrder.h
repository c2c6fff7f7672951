#pragma once

#include <span>
#include <vector>

#include "desktop/x11/Question.h"

namespace kivo::desktop::x11 {

using TreeRequest = Pending<xcb_query_tree_cookie_t>;

/// Asks for a window's parent and children.
TreeRequest AskTree(Question& question, xcb_window_t window);

/// The ancestor of each window directly below the root window, which is the window itself where
/// nobody put it into another. None (XCB_WINDOW_NONE) for one that is gone. One round trip for each
/// window between.
std::vector<xcb_window_t> TopAncestors(Question& question, std::span<const xcb_window_t> windows);

/// How the windows directly below the root window lie on each other, asked for when this is made.
/// It is the server's own order: not every manager keeps its list up to date when it raises a
/// window, and some keep none.
class StackingOrder {
  public:
    explicit StackingOrder(Question& question);

    /// How far from the back each window lies. Windows in one frame, as in tabs, lie equally far.
    /// Empty when one of them cannot be found. To be asked once.
    std::vector<std::size_t> HeightsOf(std::vector<xcb_window_t> windows);

  private:
    Question& mQuestion;
    TreeRequest mRoot;
};

}  // namespace kivo::desktop::x11
