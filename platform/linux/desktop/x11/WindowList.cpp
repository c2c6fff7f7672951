#include "desktop/x11/WindowList.h"

#include <algorithm>
#include <span>

#include "desktop/x11/StackingOrder.h"

namespace kivo::desktop::x11 {
namespace {

/// _NET_WM_DESKTOP of a window that is on all workspaces.
constexpr std::uint32_t kAllWorkspaces = 0xFFFFFFFF;

PropertyRequest AskName(Question& question, xcb_window_t window) {
    return AskProperty(question, window, question.Names().windowName, question.Names().utf8String);
}

PropertyRequest AskOldName(Question& question, xcb_window_t window) {
    return AskProperty(question, window, XCB_ATOM_WM_NAME, XCB_ATOM_ANY);
}

/// A window of the list to be.
struct Listed {
    Window window;
    xcb_window_t outer;      ///< what the manager put it into; the window itself if nothing
    std::size_t height = 0;  ///< how far from the back it lies
};

/// What decides whether a window belongs to the list, and its title, being asked for.
class Candidate {
  public:
    Candidate(Question& question, xcb_window_t window, bool askWorkspace)
        : mWindow(window),
          mName(AskName(question, window)),
          mTypes(AskProperty(question, window, question.Names().windowType, XCB_ATOM_ATOM)),
          mTree(AskTree(question, window)) {
        if (!askWorkspace) return;
        mWorkspace.emplace(
            AskProperty(question, window, question.Names().windowDesktop, XCB_ATOM_CARDINAL));
    }

    /// The window, when it is there and belongs to the list. Without a title when it has none of
    /// the EWMH.
    std::optional<Listed> Take(const Atoms& names, std::optional<std::uint32_t> workspace) {
        const PropertyReply name = mName.Take();
        const PropertyReply types = mTypes.Take();
        if (name == nullptr || IsDesktopOrDock(names, types)) return std::nullopt;
        if (mWorkspace) {
            const auto own = FirstValueOf(mWorkspace->Take());
            if (own && own != workspace && own != kAllWorkspaces) return std::nullopt;
        }
        return Listed{{mWindow, TextOf(names, name)}, TakeOuter()};
    }

  private:
    xcb_window_t TakeOuter() {
        const auto tree = mTree.Take();
        return tree == nullptr || tree->parent == tree->root ? mWindow : tree->parent;
    }

    xcb_window_t mWindow;
    PropertyRequest mName;
    PropertyRequest mTypes;
    TreeRequest mTree;
    std::optional<PropertyRequest> mWorkspace;
};

std::vector<xcb_window_t> WindowsOfProcess(const ManagedWindows& managed, pid_t processID) {
    std::vector<xcb_window_t> windows;
    for (const ManagedWindow& one : managed.FrontToBack()) {
        if (one.processID == processID) windows.push_back(one.window);
    }
    return windows;
}

/// Asks for the older name of windows that have none of the EWMH.
void AddOldNames(Question& question, std::span<Listed> listed) {
    std::vector<std::pair<Window*, PropertyRequest>> requests;
    for (auto& [window, outer, height] : listed) {
        if (window.title) continue;
        requests.emplace_back(&window, AskOldName(question, static_cast<xcb_window_t>(window.id)));
    }
    for (auto& [window, request] : requests) {
        const PropertyReply reply = request.Take();
        // A window that is gone by now is left without a title: who asks for it is told so.
        if (reply != nullptr) window->title = TextOf(question.Names(), reply).value_or("");
    }
}

void AddBatch(Question& question, std::span<const xcb_window_t> batch,
              std::optional<std::uint32_t> workspace, std::vector<Listed>& listed) {
    std::vector<Candidate> candidates;
    candidates.reserve(batch.size());
    for (const xcb_window_t window : batch) {
        candidates.emplace_back(question, window, workspace.has_value());
    }
    const std::size_t before = listed.size();
    for (Candidate& candidate : candidates) {
        auto one = candidate.Take(question.Names(), workspace);
        if (one) listed.push_back(std::move(*one));
    }
    if (question.IsAnswered()) AddOldNames(question, std::span(listed).subspan(before));
}

/// Front to back; as it is when that cannot be told of all.
void Sort(StackingOrder& order, std::vector<Listed>& listed) {
    if (listed.size() < 2) return;
    std::vector<xcb_window_t> outer;
    for (const Listed& one : listed) {
        outer.push_back(one.outer);
    }
    const auto heights = order.HeightsOf(std::move(outer));
    for (std::size_t i = 0; i < heights.size(); ++i) {
        listed[i].height = heights[i];
    }
    std::stable_sort(listed.begin(), listed.end(), [](const Listed& one, const Listed& other) {
        return one.height > other.height;
    });
}

}  // namespace

bool IsDesktopOrDock(const Atoms& names, const PropertyReply& types) {
    const auto values = ValuesOf(types);
    return std::any_of(values.begin(), values.end(), [&names](xcb_atom_t type) {
        return type == names.typeDesktop || type == names.typeDock;
    });
}

Status ListWindows(Question& question, WindowManager& manager, pid_t processID,
                   std::vector<Window>& windows) {
    // No process: the windows of which nobody knows the process are not one application's.
    if (processID <= 0) return Status::kOk;
    StackingOrder order(question);
    const ManagedWindows managed(question, manager);
    const auto own = WindowsOfProcess(managed, processID);
    std::vector<Listed> listed;
    for (std::size_t begin = 0; begin < own.size() && question.IsAnswered(); begin += kBatch) {
        const std::size_t count = std::min(kBatch, own.size() - begin);
        AddBatch(question, std::span(own).subspan(begin, count), managed.Workspace(), listed);
    }
    Sort(order, listed);
    for (Listed& one : listed) {
        windows.push_back(std::move(one.window));
    }
    return question.IsAnswered() ? Status::kOk : Status::kNoAnswer;
}

Status ReadTitle(Question& question, xcb_window_t window, std::string& title) {
    auto name = AskName(question, window);
    auto oldName = AskOldName(question, window);
    const PropertyReply reply = name.Take();
    const PropertyReply oldReply = oldName.Take();
    if (!question.IsAnswered()) return Status::kNoAnswer;
    if (reply == nullptr || oldReply == nullptr) return Status::kWindowGone;
    const Atoms& names = question.Names();
    title = TextOf(names, reply).value_or(TextOf(names, oldReply).value_or(""));
    return Status::kOk;
}

}  // namespace kivo::desktop::x11
