#include "desktop/x11/X11Desktop.h"

#include <algorithm>

#include "desktop/x11/Activation.h"
#include "desktop/x11/Geometry.h"
#include "desktop/x11/Owner.h"
#include "desktop/x11/WindowList.h"

namespace kivo::desktop::x11 {

std::unique_ptr<X11Desktop> X11Desktop::Open() {
    auto connection = Connection::Open();
    if (connection == nullptr) return nullptr;
    return std::make_unique<X11Desktop>(std::move(connection));
}

X11Desktop::X11Desktop(std::unique_ptr<Connection> connection)
    : mConnection(std::move(connection)),
      mFiles(DesktopFiles::StandardFolders()),
      mActivations(*mConnection, mManager, mFiles) {}

std::optional<Application> X11Desktop::FrontApplication() {
    return mActivations.Front();
}

void X11Desktop::ObserveActivations(std::function<void(const Application&)> activated) {
    mActivations.Observe(std::move(activated));
}

std::vector<Application> X11Desktop::RunningApplications(const std::string& bundleID) {
    Question question(*mConnection);
    if (!question.IsAnswered()) return {};
    const DesktopFiles::Index& index = mFiles.UpToDate();
    std::vector<Application> applications;
    for (const Owner& owner : ReadOwners(question, mManager)) {
        const bool isListed =
            std::any_of(applications.begin(), applications.end(),
                        [&](const Application& one) { return one.processID == owner.processID; });
        if (isListed) continue;
        Application application = owner.Identified(index);
        if (application.bundleID == bundleID) applications.push_back(std::move(application));
    }
    return applications;
}

Status X11Desktop::WindowsOf(pid_t processID, std::vector<Window>& windows) {
    Question question(*mConnection);
    if (!question.IsAnswered()) return Status::kNoAnswer;
    return ListWindows(question, mManager, processID, windows);
}

Status X11Desktop::Title(WindowID window, std::string& title) {
    Question question(*mConnection);
    if (!question.IsAnswered()) return Status::kNoAnswer;
    return ReadTitle(question, static_cast<xcb_window_t>(window), title);
}

Status X11Desktop::Frame(WindowID window, Rect& frame) {
    Question question(*mConnection);
    if (!question.IsAnswered()) return Status::kNoAnswer;
    return ReadFrame(question, static_cast<xcb_window_t>(window), frame);
}

Status X11Desktop::MakeMain(WindowID window) {
    return Activate(*mConnection, mManager, static_cast<xcb_window_t>(window));
}

std::optional<Point> X11Desktop::Pointer() {
    Question question(*mConnection);
    if (!question.IsAnswered()) return std::nullopt;
    return ReadPointer(question);
}

std::optional<Rect> X11Desktop::PrimaryScreen() {
    Question question(*mConnection);
    if (!question.IsAnswered()) return std::nullopt;
    const auto monitor = PrimaryMonitor(question).Take();
    if (!monitor) return std::nullopt;
    return Rect{0, 0, monitor->width, monitor->height};
}

}  // namespace kivo::desktop::x11
