// The request at start-up that has the platform ask the user for its accessibility permission.

#include <syslog.h>

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

/// A window that was examined stays retained for ever, but for the one measured at the end.
void KeepForEver(AXUIElementRef window) {
    if (window != nullptr) kivo::RetainByDesign(kivo::DesignedRetention::kAlertWindow, window);
}

}  // namespace

/// The window titled "Window", else the last one, retained; null when there is none or a title
/// cannot be read.
AXUIElementRef CZYN_UserSpaceDriver::WindowForAlert(CFArrayRef windows) {
    AXUIElementRef window = nullptr;
    for (CFIndex i = 0; i < CFArrayGetCount(windows); ++i) {
        kivo::CFRef<CFStringRef> title;
        const AXUIElementRef examined = kivo::WindowAt(windows, i);
        KeepForEver(window);
        window = nullptr;
        if (!kivo::CopyTitle(examined, title)) return nullptr;
        window = static_cast<AXUIElementRef>(CFRetain(examined));
        if (MatchWindowTitle(title.Get(), CFSTR("Window"), false)) break;
    }
    return window;
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
