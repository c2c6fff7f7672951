// The front application's windows: the list, a title's search, a window's place.

#include "driver/CFWorkspace.h"
#include "driver/CZYN_UserSpaceDriver.h"

#include "ZYNCommon/DesignedRetention.h"
#include "driver/Accessibility.h"

namespace {

constexpr unsigned int kNoApplication = 0xFFFFFFFF;  // the process identifier -1

}  // namespace

CFArrayRef CZYN_UserSpaceDriver::CopyApplicationWindowList(bool verbose, CFStringRef label) {
    if (verbose) NSLog(CFSTR("CopyApplicationWindowList"));
    const unsigned int processID = CFWorkspace_CurrentFrontApplicationPID();
    if (processID == kNoApplication) return nullptr;
    auto application = kivo::Adopt(AXUIElementCreateApplication(static_cast<pid_t>(processID)));
    if (!application) return nullptr;
    if (verbose) {
        NSLog(CFSTR("CopyApplicationWindowList %@ retain count = %ld"), label,
              CFGetRetainCount(application.Get()));
    }
    CFTypeRef windows = nullptr;
    const AXError error =
        AXUIElementCopyAttributeValue(application.Get(), kAXWindowsAttribute, &windows);
    application = {};
    if (error == kAXErrorSuccess) return static_cast<CFArrayRef>(windows);
    if (verbose) {
        NSLog(CFSTR("CopyApplicationWindowList %@ AXUIElementCopyAttributeValue err = %.8x\n"),
              label, static_cast<unsigned int>(error));
    }
    return nullptr;
}

bool CZYN_UserSpaceDriver::MatchWindowTitle(NSString* windowTitle, NSString* wanted, bool partial) {
    if (windowTitle == nullptr) return !partial;
    if (wanted == nullptr) return false;
    if (!partial) {
        return CFStringCompare(windowTitle, wanted, kCFCompareNonliteral) == kCFCompareEqualTo;
    }
    const CFRange found = CFStringFind(windowTitle, wanted, kCFCompareNonliteral);
    return found.location != kCFNotFound && found.length != 0;
}

AXUIElementRef CZYN_UserSpaceDriver::GetWindowElementWithTitle(NSString* wanted, bool partial) {
    const auto windows = kivo::Adopt(CopyApplicationWindowList(false, CFSTR("")));
    if (!windows) return nullptr;
    mLentWindowLists.push_back(windows);
    for (CFIndex i = 0; i < CFArrayGetCount(windows.Get()); ++i) {
        const AXUIElementRef window = kivo::WindowAt(windows.Get(), i);
        kivo::CFRef<CFStringRef> title;
        if (!kivo::CopyTitle(window, title)) return nullptr;
        if (MatchWindowTitle(title.Get(), wanted, partial)) return window;
    }
    return nullptr;
}

AXUIElementRef CZYN_UserSpaceDriver::GetWindowElementWithTitle(const std::string& wanted,
                                                               bool partial) {
    const auto windows = kivo::Adopt(CopyApplicationWindowList(false, CFSTR("")));
    if (!windows) return nullptr;
    mLentWindowLists.push_back(windows);
    const auto wantedTitle = kivo::MakeString(wanted.c_str());
    for (CFIndex i = 0; i < CFArrayGetCount(windows.Get()); ++i) {
        const AXUIElementRef window = kivo::WindowAt(windows.Get(), i);
        kivo::CFRef<CFStringRef> title;
        if (!kivo::CopyTitle(window, title)) return nullptr;
        // Kept as control centers know it: the title that was read is neither compared nor
        // released.
        kivo::RetainByDesign(kivo::DesignedRetention::kWindowTitle, title.Release());
        if (MatchWindowTitle(nullptr, wantedTitle.Get(), partial)) return window;
    }
    return nullptr;
}

bool CZYN_UserSpaceDriver::GetPosAndSizeForWindowElement(AXUIElementRef window, CGPoint& position,
                                                         CGSize& size) {
    CGPoint readPosition;
    CGSize readSize;
    if (!kivo::ReadGeometry(window, kAXPositionAttribute, kAXValueTypeCGPoint, &readPosition) ||
        !kivo::ReadGeometry(window, kAXSizeAttribute, kAXValueTypeCGSize, &readSize)) {
        return false;
    }
    position = readPosition;
    size = readSize;
    return true;
}

bool CZYN_UserSpaceDriver::GetPosAndSizeForWindowName(const std::string& wanted, bool partial,
                                                      CGPoint& position, CGSize& size) {
    const AXUIElementRef window = GetWindowElementWithTitle(wanted, partial);
    if (window == nullptr) return false;
    if (AXUIElementSetAttributeValue(window, kAXMainAttribute, kCFBooleanTrue) != kAXErrorSuccess) {
        return false;
    }
    return GetPosAndSizeForWindowElement(window, position, size);
}
