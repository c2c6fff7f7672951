#include "desktop/x11/ManagedWindows.h"

#include <algorithm>

namespace kivo::desktop::x11 {
namespace {

/// The windows of the manager's list. The active one is managed even if the list lacks it: some
/// list a window only when the next one comes.
std::vector<xcb_window_t> BackToFront(const PropertyReply& list, const PropertyReply& active) {
    const auto values = ValuesOf(list);
    std::vector<xcb_window_t> windows(values.begin(), values.end());
    const xcb_window_t front = FirstValueOf(active).value_or(XCB_WINDOW_NONE);
    const bool isListed = std::find(windows.begin(), windows.end(), front) != windows.end();
    if (front != XCB_WINDOW_NONE && !isListed) windows.push_back(front);
    return windows;
}

}  // namespace

ManagedWindows::ManagedWindows(Question& question, WindowManager& manager) {
    const Atoms& names = question.Names();
    const auto askRoot = [&](xcb_atom_t property, xcb_atom_t type) {
        return AskProperty(question, question.Facts().root, property, type);
    };
    auto check = manager.Ask(question);
    auto stacking = askRoot(names.clientListStacking, XCB_ATOM_WINDOW);
    auto oldestFirst = askRoot(names.clientList, XCB_ATOM_WINDOW);
    auto active = askRoot(names.activeWindow, XCB_ATOM_WINDOW);
    auto current = askRoot(names.currentDesktop, XCB_ATOM_CARDINAL);
    auto count = askRoot(names.numberOfDesktops, XCB_ATOM_CARDINAL);
    ProcessIDs processIDs(question);

    if (!manager.IsRunning(question, check)) return;
    PropertyReply list = stacking.Take();
    if (list == nullptr || list->type == XCB_ATOM_NONE) list = oldestFirst.Take();
    const auto workspace = FirstValueOf(current.Take());
    if (FirstValueOf(count.Take()).value_or(2) > 1) mWorkspace = workspace;
    processIDs.Read();
    Fill(question, BackToFront(list, active.Take()), processIDs);
}

void ManagedWindows::Fill(Question& question, const std::vector<xcb_window_t>& backToFront,
                          ProcessIDs& processIDs) {
    mFrontToBack.reserve(backToFront.size());
    std::vector<ManagedWindow*> unknown;
    for (auto window = backToFront.rbegin(); window != backToFront.rend(); ++window) {
        const auto processID = processIDs.Of(*window);
        mFrontToBack.push_back({*window, processID.value_or(-1)});
        if (!processID) unknown.push_back(&mFrontToBack.back());
    }
    AskClaims(question, unknown);
}

void ManagedWindows::AskClaims(Question& question, std::vector<ManagedWindow*>& unknown) {
    for (std::size_t begin = 0; begin < unknown.size() && question.IsAnswered(); begin += kBatch) {
        const std::size_t end = std::min(begin + kBatch, unknown.size());
        std::vector<PropertyRequest> requests;
        for (std::size_t i = begin; i < end; ++i) {
            requests.push_back(AskProperty(question, unknown[i]->window, question.Names().windowPID,
                                           XCB_ATOM_CARDINAL));
        }
        for (std::size_t i = begin; i < end; ++i) {
            unknown[i]->processID = ClaimedProcessID(FirstValueOf(requests[i - begin].Take()));
        }
    }
}

}  // namespace kivo::desktop::x11
