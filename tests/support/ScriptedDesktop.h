#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/desktop/Desktop.h"

namespace kivo::test {

/// A window as a test sets it up. A status other than kOk is what reading that part answers.
struct ScriptedWindow {
    desktop::WindowID id = 0;
    std::string title;
    desktop::Rect frame;
    desktop::Status titleStatus = desktop::Status::kOk;
    desktop::Status frameStatus = desktop::Status::kOk;
    desktop::Status makeMainStatus = desktop::Status::kOk;
};

/// A desktop whose contents are plain data, which a test may change at any time. `calls` tells in
/// order what was asked of it.
class ScriptedDesktop final : public desktop::Desktop {
  public:
    std::optional<desktop::Application> front;
    std::vector<desktop::Application> running;
    std::map<pid_t, std::vector<ScriptedWindow>> windows;  ///< front to back
    desktop::Status listStatus = desktop::Status::kOk;
    std::optional<desktop::Point> pointer = desktop::Point{};
    std::optional<desktop::Rect> screen = desktop::Rect{0, 0, 1280, 800};
    std::vector<std::string> calls;

    /// Brings an application to the front and tells the observer.
    void Activate(const desktop::Application& application);

    std::optional<desktop::Application> FrontApplication() override;
    void ObserveActivations(std::function<void(const desktop::Application&)> activated) override;
    std::vector<desktop::Application> RunningApplications(const std::string& bundleID) override;
    desktop::Status WindowsOf(pid_t processID, std::vector<desktop::Window>& list) override;
    desktop::Status Title(desktop::WindowID window, std::string& title) override;
    desktop::Status Frame(desktop::WindowID window, desktop::Rect& frame) override;
    desktop::Status MakeMain(desktop::WindowID window) override;
    std::optional<desktop::Point> Pointer() override { return pointer; }
    std::optional<desktop::Rect> PrimaryScreen() override { return screen; }

  private:
    const ScriptedWindow* Find(desktop::WindowID window) const;

    std::function<void(const desktop::Application&)> mActivated;
};

}  // namespace kivo::test
