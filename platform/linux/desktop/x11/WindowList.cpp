#include "desktop/x11/WindowList.h"

#include <algorithm>
#include <span>

#include "desktop/x11/Ancestors.h"

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

/// What decides whether a window belongs to the list, and its title, being asked for.
class Candidate {
  public:
    Candidate(Question& question, xcb_window_t window, bool askWorkspace)
        : mWindow(window),
          mName(AskName(question, window)),
          mTypes(AskProperty(question, window, question.Names().windowType, XCB_ATOM_ATOM)) {
        if (!askWorkspace) return;
        mWorkspace.emplace(
            AskProperty(question, window, question.Names().windowDesktop, XCB_ATOM_CARDINAL));
    }

    /// The window, when it is there and belongs to the list. Without a title when it has none of
    /// the EWMH.
    std::optional<Window> Take(const Atoms& names, std::optional<std::uint32_t> workspace) {
        const PropertyReply name = mName.Take();
        const PropertyReply types = mTypes.Take();
        if (name == nullptr || IsDesktopOrDock(names, types)) return std::nullopt;
        if (mWorkspace) {
            const auto own = FirstValueOf(mWorkspace->Take());
            if (own && own != workspace && own != kAllWorkspaces) return std::nullopt;
        }
        return Window{mWindow, TextOf(names, name)};
    }

  private:
    xcb_window_t mWindow;
    PropertyRequest mName;
    PropertyRequest mTypes;
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
void AddOldNames(Question& question, std::span<Window> windows) {
    std::vector<std::pair<Window*, PropertyRequest>> requests;
    for (Window& window : windows) {
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
              std::optional<std::uint32_t> workspace, std::vector<Window>& windows) {
    std::vector<Candidate> candidates;
    candidates.reserve(batch.size());
    for (const xcb_window_t window : batch) {
        candidates.emplace_back(question, window, workspace.has_value());
    }
    const std::size_t before = windows.size();
    for (Candidate& candidate : candidates) {
        auto window = candidate.Take(question.Names(), workspace);
        if (window) windows.push_back(std::move(*window));
    }
    if (question.IsAnswered()) AddOldNames(question, std::span(windows).subspan(before));
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
    const ManagedWindows managed(question, manager);
    auto own = WindowsOfProcess(managed, processID);
    SortFrontToBack(question, own);
    for (std::size_t begin = 0; begin < own.size() && question.IsAnswered(); begin += kBatch) {
        const std::size_t count = std::min(kBatch, own.size() - begin);
        AddBatch(question, std::span(own).subspan(begin, count), managed.Workspace(), windows);
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
