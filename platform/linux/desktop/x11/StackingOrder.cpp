#include "desktop/x11/StackingOrder.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>

namespace kivo::desktop::x11 {
namespace {

/// Puts the parent, unless that is the root window, into each window's place. The ones that may
/// have another.
std::vector<xcb_window_t*> Climb(Question& question, const std::vector<xcb_window_t*>& windows) {
    std::vector<TreeRequest> trees;
    trees.reserve(windows.size());
    for (const xcb_window_t* window : windows) {
        trees.push_back(AskTree(question, *window));
    }
    std::vector<xcb_window_t*> higher;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const auto tree = trees[i].Take();
        if (tree == nullptr) {
            *windows[i] = XCB_WINDOW_NONE;
        } else if (tree->parent != tree->root && tree->parent != XCB_WINDOW_NONE) {
            *windows[i] = tree->parent;
            higher.push_back(windows[i]);
        }
    }
    return higher;
}

void ClimbToTop(Question& question, std::span<xcb_window_t> windows) {
    // A frame is one window around the other, seldom two; what is deeper is no frame.
    constexpr int kDeepest = 4;
    std::vector<xcb_window_t*> climbing;
    for (xcb_window_t& window : windows) {
        climbing.push_back(&window);
    }
    for (int depth = 0; depth < kDeepest && !climbing.empty(); ++depth) {
        climbing = Climb(question, climbing);
    }
    for (xcb_window_t* window : climbing) {
        *window = XCB_WINDOW_NONE;
    }
}

using Heights = std::unordered_map<xcb_window_t, std::size_t>;

Heights HeightsOfChildren(xcb_query_tree_reply_t& parent) {
    const std::span children(xcb_query_tree_children(&parent), parent.children_len);
    Heights heights;
    heights.reserve(children.size());
    for (const xcb_window_t child : children) {
        heights.emplace(child, heights.size());
    }
    return heights;
}

/// Puts the top ancestors into the place of the windows that are none themselves.
void Replace(Question& question, const Heights& heights, std::vector<xcb_window_t>& windows) {
    std::vector<xcb_window_t> inner;
    std::copy_if(windows.begin(), windows.end(), std::back_inserter(inner),
                 [&](xcb_window_t window) { return !heights.contains(window); });
    const auto tops = TopAncestors(question, inner);
    auto top = tops.begin();
    for (xcb_window_t& window : windows) {
        if (!heights.contains(window)) window = *top++;
    }
}

}  // namespace

TreeRequest AskTree(Question& question, xcb_window_t window) {
    return {question, xcb_query_tree(question.Get(), window)};
}

std::vector<xcb_window_t> TopAncestors(Question& question, std::span<const xcb_window_t> windows) {
    std::vector<xcb_window_t> tops(windows.begin(), windows.end());
    for (std::size_t begin = 0; begin < tops.size() && question.IsAnswered(); begin += kBatch) {
        const std::size_t count = std::min(kBatch, tops.size() - begin);
        ClimbToTop(question, std::span(tops).subspan(begin, count));
    }
    return tops;
}

StackingOrder::StackingOrder(Question& question)
    : mQuestion(question), mRoot(AskTree(question, question.Facts().root)) {}

std::vector<std::size_t> StackingOrder::HeightsOf(std::vector<xcb_window_t> windows) {
    const auto root = mRoot.Take();
    if (root == nullptr) return {};
    const Heights heights = HeightsOfChildren(*root);
    Replace(mQuestion, heights, windows);
    std::vector<std::size_t> found;
    for (const xcb_window_t window : windows) {
        const auto height = heights.find(window);
        if (height == heights.end()) return {};
        found.push_back(height->second);
    }
    return found;
}

}  // namespace kivo::desktop::x11
