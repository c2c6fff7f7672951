#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The desktop of the session as the layer needs it, whatever draws it. One room per kind of
/// desktop implements it; which one is chosen when the first question comes.
///
/// Coordinates are doubles in pixels; the origin is the top left of the primary monitor, y grows
/// downward. Texts are valid UTF-8. Everything belongs to the main thread, and nothing here waits
/// for another process longer than `kAnswerTimeout`, or `kActivationTimeout` for `MakeMain`.
namespace kivo::desktop {

using WindowID = std::uint64_t;

/// How long a question may take that another process has to answer.
constexpr std::chrono::milliseconds kAnswerTimeout{500};
/// How long a window may take to become the active one.
constexpr std::chrono::milliseconds kActivationTimeout{100};

struct Point {
    double x = 0;
    double y = 0;
};

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
};

/// An application that runs: what is known of it when it comes up, together.
struct Application {
    pid_t processID = -1;                     ///< -1 when the desktop cannot tell.
    std::string bundleID;                     ///< empty when it has none
    bool hasBundle = false;                   ///< a desktop file describes it
    std::map<std::string, std::string> info;  ///< the Info dictionary, when it has a bundle
};

struct Window {
    WindowID id = 0;
    std::optional<std::string> title;  ///< as it was when the list was made, when it could be read
};

enum class Status {
    kOk,
    kWindowGone,  ///< the window was closed
    kNoAnswer,    ///< the desktop did not answer in time, or is not there any more
    kRefused,     ///< the desktop did not do what it was asked
};

class Desktop {
  public:
    virtual ~Desktop() = default;

    /// The application that owns the active window; none when nobody does.
    virtual std::optional<Application> FrontApplication() = 0;

    /// Has `activated` called, from the main run loop, each time that the owner of the active
    /// window changed to somebody. Takes the place of the one given before; null ends it.
    virtual void ObserveActivations(std::function<void(const Application&)> activated) = 0;

    /// The running applications with this bundle identifier that have a window.
    virtual std::vector<Application> RunningApplications(const std::string& bundleID) = 0;

    /// The managed windows of a process, front to back: dialogs, utilities and minimised ones too,
    /// no docks, no desktops, no windows of other workspaces.
    virtual Status WindowsOf(pid_t processID, std::vector<Window>& windows) = 0;

    /// The title now; empty when the window has none.
    virtual Status Title(WindowID window, std::string& title) = 0;

    /// The outer frame now, as the user sees it: decorations in, client-drawn shadows out.
    virtual Status Frame(WindowID window, Rect& frame) = 0;

    /// Makes it the active window, and returns when it is.
    virtual Status MakeMain(WindowID window) = 0;

    /// The pointer's location; none when the desktop does not answer.
    virtual std::optional<Point> Pointer() = 0;

    /// The frame of the primary monitor, the first where none is marked; none without a monitor.
    virtual std::optional<Rect> PrimaryScreen() = 0;
};

/// The desktop in force: the session's, found at the first call and kept. Without one, a desktop
/// on which nobody is in front and every question is answered with `kNoAnswer` or nothing.
Desktop& Current();

/// Puts `desktop` in force, null for the session's own again. For tests.
void Install(std::unique_ptr<Desktop> desktop);

}  // namespace kivo::desktop
