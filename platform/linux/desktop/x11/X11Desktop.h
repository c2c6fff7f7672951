#pragma once

#include <memory>

#include "desktop/Desktop.h"
#include "desktop/DesktopFiles.h"
#include "desktop/x11/Activations.h"
#include "desktop/x11/Connection.h"
#include "desktop/x11/WindowManager.h"

namespace kivo::desktop::x11 {

/// The desktop of an X11 session with a window manager that keeps to the EWMH.
///
/// Nothing but the observed owner of the active window is kept from one question to the next.
class X11Desktop final : public Desktop {
  public:
    /// Null when $DISPLAY names no server that answers.
    static std::unique_ptr<X11Desktop> Open();

    explicit X11Desktop(std::unique_ptr<Connection> connection);

    std::optional<Application> FrontApplication() override;
    void ObserveActivations(std::function<void(const Application&)> activated) override;
    std::vector<Application> RunningApplications(const std::string& bundleID) override;
    Status WindowsOf(pid_t processID, std::vector<Window>& windows) override;
    Status Title(WindowID window, std::string& title) override;
    Status Frame(WindowID window, Rect& frame) override;
    Status MakeMain(WindowID window) override;
    std::optional<Point> Pointer() override;
    std::optional<Rect> PrimaryScreen() override;

  private:
    const std::unique_ptr<Connection> mConnection;
    WindowManager mManager;
    DesktopFiles mFiles;
    Activations mActivations;
};

}  // namespace kivo::desktop::x11
