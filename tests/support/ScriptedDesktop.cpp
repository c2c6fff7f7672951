#include "tests/support/ScriptedDesktop.h"

namespace kivo::test {

using desktop::Application;
using desktop::Status;
using desktop::WindowID;

void ScriptedDesktop::Activate(const Application& application) {
    front = application;
    if (mActivated) mActivated(application);
}

std::optional<Application> ScriptedDesktop::FrontApplication() {
    calls.push_back("front");
    return front;
}

void ScriptedDesktop::ObserveActivations(std::function<void(const Application&)> activated) {
    mActivated = std::move(activated);
}

std::vector<Application> ScriptedDesktop::RunningApplications(const std::string& bundleID) {
    calls.push_back("running " + bundleID);
    std::vector<Application> found;
    for (const Application& application : running) {
        if (application.bundleID == bundleID) found.push_back(application);
    }
    return found;
}

Status ScriptedDesktop::WindowsOf(pid_t processID, std::vector<desktop::Window>& list) {
    calls.push_back("list " + std::to_string(processID));
    if (listStatus != Status::kOk) return listStatus;
    for (const ScriptedWindow& window : windows[processID]) {
        list.push_back({window.id, window.titleStatus == Status::kOk ? std::optional(window.title)
                                                                     : std::nullopt});
    }
    return Status::kOk;
}

Status ScriptedDesktop::Title(WindowID id, std::string& title) {
    calls.push_back("title " + std::to_string(id));
    const ScriptedWindow* window = Find(id);
    if (window == nullptr) return Status::kWindowGone;
    if (window->titleStatus == Status::kOk) title = window->title;
    return window->titleStatus;
}

Status ScriptedDesktop::Frame(WindowID id, desktop::Rect& frame) {
    calls.push_back("frame " + std::to_string(id));
    const ScriptedWindow* window = Find(id);
    if (window == nullptr) return Status::kWindowGone;
    if (window->frameStatus == Status::kOk) frame = window->frame;
    return window->frameStatus;
}

Status ScriptedDesktop::MakeMain(WindowID id) {
    calls.push_back("main " + std::to_string(id));
    const ScriptedWindow* window = Find(id);
    return window == nullptr ? Status::kWindowGone : window->makeMainStatus;
}

const ScriptedWindow* ScriptedDesktop::Find(WindowID id) const {
    for (const auto& [processID, list] : windows) {
        for (const ScriptedWindow& window : list) {
            if (window.id == id) return &window;
        }
    }
    return nullptr;
}

}  // namespace kivo::test
