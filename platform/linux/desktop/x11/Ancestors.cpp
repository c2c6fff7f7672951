#include "desktop/x11/Ancestors.h"

#include <algorithm>
#include <unordered_map>

namespace kivo::desktop::x11 {
namespace {

using Tree = Pending<xcb_query_tree_cookie_t>;

Tree AskTree(Question& question, xcb_window_t window) {
    return {question, xcb_query_tree(question.Get(), window)};
}

/// Puts the parent, unless that is the root window, into each window's place. The ones that may
/// have another.
std::vector<xcb_window_t*> Climb(Question& question, const std::vector<xcb_window_t*>& windows) {
    std::vector<Tree> trees;
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

/// How far from the back each child of the root window lies.
std::unordered_map<xcb_window_t, int> HeightsOf(xcb_query_tree_reply_t& root) {
    const std::span children(xcb_query_tree_children(&root), root.children_len);
    std::unordered_map<xcb_window_t, int> heights;
    heights.reserve(children.size());
    for (const xcb_window_t child : children) {
        heights.emplace(child, static_cast<int>(heights.size()));
    }
    return heights;
}

}  // namespace

std::vector<xcb_window_t> TopAncestors(Question& question, std::span<const xcb_window_t> windows) {
    std::vector<xcb_window_t> tops(windows.begin(), windows.end());
    for (std::size_t begin = 0; begin < tops.size() && question.IsAnswered(); begin += kBatch) {
        const std::size_t count = std::min(kBatch, tops.size() - begin);
        ClimbToTop(question, std::span(tops).subspan(begin, count));
    }
    return tops;
}

void SortFrontToBack(Question& question, std::vector<xcb_window_t>& windows) {
    if (windows.size() < 2) return;
    Tree root = AskTree(question, question.Facts().root);
    const auto tops = TopAncestors(question, windows);
    const auto tree = root.Take();
    if (tree == nullptr || !question.IsAnswered()) return;
    const auto heights = HeightsOf(*tree);
    std::vector<std::pair<int, xcb_window_t>> sorted;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const auto height = heights.find(tops[i]);
        if (height == heights.end()) return;
        sorted.emplace_back(height->second, windows[i]);
    }
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& one, const auto& other) { return one.first > other.first; });
    std::transform(sorted.begin(), sorted.end(), windows.begin(),
                   [](const auto& one) { return one.second; });
}

}  // namespace kivo::desktop::x11
