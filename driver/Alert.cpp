// The request at start-up that has the platform ask the user for its accessibility permission.

#include <syslog.h>

#include <utility>

#include "ZYNCommon/DesignedRetention.h"
#include "ZYNCommon/MessageCodes.h"
#include "driver/Accessibility.h"
#include "driver/CZYN_UserSpaceDriver.h"

namespace {

/// The windows of the first running control center; null when there is none or they are refused.
kivo::CFRef<CFArrayRef> CopyControlCenterWindows() {
    const auto bundleID = kivo::MakeString(kivo::kControlCenterBundleIdentifier);
    const auto running = kivo::Adopt(Workspace_CopyRunningApplications(bundleID.Get()));
    if (!running || CFArrayGetCount(running.Get()) == 0) return {};
    const WorkspaceApplicationRef first = CFArrayGetValueAtIndex(running.Get(), 0);
    if (first == nullptr) return {};
    const auto element =
        kivo::Adopt(AXUIElementCreateApplication(Workspace_GetProcessIdentifier(first)));
    CFTypeRef windows = nullptr;
    if (AXUIElementCopyAttributeValue(element.Get(), kAXWindowsAttribute, &windows) !=
        kAXErrorSuccess) {
        return {};
    }
    return kivo::Adopt(static_cast<CFArrayRef>(windows));
}

/// The window examined last, retained. A window that was examined stays so for ever, however the
/// examination goes on, but for the one that is taken to be measured.
class ExaminedWindow {
  public:
    ExaminedWindow() = default;
    ~ExaminedWindow() { Keep(); }
    ExaminedWindow(const ExaminedWindow&) = delete;
    ExaminedWindow& operator=(const ExaminedWindow&) = delete;

    void Examine(AXUIElementRef window) {
        Keep();
        mWindow = static_cast<AXUIElementRef>(CFRetain(window));
    }
    AXUIElementRef Take() { return std::exchange(mWindow, nullptr); }

  private:
    void Keep() {
        if (mWindow == nullptr) return;
        kivo::RetainByDesign(kivo::DesignedRetention::kAlertWindow, mWindow);
    }

    AXUIElementRef mWindow = nullptr;
};

}  // namespace

/// The window titled "Window", else the last one, retained; null when there is none or a title
/// cannot be read.
AXUIElementRef CZYN_UserSpaceDriver::WindowForAlert(CFArrayRef windows) {
    ExaminedWindow examined;
    for (CFIndex i = 0; i < CFArrayGetCount(windows); ++i) {
        const AXUIElementRef window = kivo::WindowAt(windows, i);
        kivo::CFRef<CFStringRef> title;
        if (!kivo::CopyTitle(window, title)) return nullptr;
        examined.Examine(window);
        if (MatchWindowTitle(title.Get(), CFSTR("Window"), false)) break;
    }
    return examined.Take();
}

void CZYN_UserSpaceDriver::TriggerAXAlert() {
    try {
        auto windows = CopyControlCenterWindows();
        if (!windows) return;
        const auto window = kivo::Adopt(WindowForAlert(windows.Get()));
        windows = {};
        if (!window) return;
        CGPoint position;
        CGSize size;
        GetPosAndSizeForWindowElement(window.Get(), position, size);
    } catch (...) {
        syslog(0, "EXCEPTION in TriggerAXAlert ()");
    }
}
