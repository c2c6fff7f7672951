// Which of the control center's candidate windows is open, and where it lies.

#include "ZYNCommon/CLanguageSupport.h"
#include "driver/Accessibility.h"
#include "driver/CZYN_UserSpaceDriver.h"

namespace {

constexpr unsigned int kLanguageCapacity = 16;

/// The table of the driver's language, read anew for each use.
class CurrentLanguage {
  public:
    explicit CurrentLanguage(CZYN_UserSpaceDriver& driver) : mSupport(Name(driver)) {}

    /// The localised title for a key in the system encoding; null when there is none or the key is
    /// no valid text.
    kivo::CFRef<CFStringRef> Title(const char* keyText) {
        const auto key = kivo::Adopt(
            CFStringCreateWithCString(kCFAllocatorDefault, keyText, CFStringGetSystemEncoding()));
        if (!key) return {};
        const CFStringRef title = mSupport.CopyStringForKey(key.Get());
        // A loaded table lends its string; without one the answer is a copy of the key.
        return mSupport.HasTable() ? kivo::Retain(title) : kivo::Adopt(title);
    }

  private:
    const char* Name(CZYN_UserSpaceDriver& driver) {
        driver.GetCurrentLanguage(mName, kLanguageCapacity);
        return mName;
    }

    char mName[kLanguageCapacity + 1] = {};  // one more, which ends a name that fills the rest
    CLanguageSupport mSupport;
};

}  // namespace

bool CZYN_UserSpaceDriver::GetTargetIndexForWindow(NSString* windowTitle,
                                                   ZYN_Driver_TargetWindowInfo* candidates,
                                                   unsigned int count, unsigned int& index) {
    index = 0;
    CurrentLanguage language(*this);
    for (unsigned int i = 0; i < count; ++i) {
        const auto title = language.Title(candidates[i].titleKey);
        if (title && MatchWindowTitle(windowTitle, title.Get(), true)) {
            index = i;
            return true;
        }
    }
    return false;
}

bool CZYN_UserSpaceDriver::GetPosAndSizeForTargetWindow(ZYN_Driver_TargetWindowInfo* candidates,
                                                        unsigned int count, unsigned int& index,
                                                        CGPoint& position, CGSize& size) {
    const auto windows = kivo::Adopt(CopyApplicationWindowList(false, CFSTR("")));
    if (!windows) return false;
    auto window = kivo::Adopt(RecognisedWindow(windows.Get(), candidates, count, index));
    if (window && candidates[index].hasAltTitle) {
        window = kivo::Adopt(AlternateWindow(candidates[index]));
    }
    return window && GetPosAndSizeForWindowElement(window.Get(), position, size);
}

/// The first window that any candidate names, retained; null when none does or a title cannot be
/// read. Writes `index` only when it returns a window.
AXUIElementRef CZYN_UserSpaceDriver::RecognisedWindow(CFArrayRef windows,
                                                      ZYN_Driver_TargetWindowInfo* candidates,
                                                      unsigned int count, unsigned int& index) {
    for (CFIndex i = 0; i < CFArrayGetCount(windows); ++i) {
        const AXUIElementRef window = kivo::WindowAt(windows, i);
        kivo::CFRef<CFStringRef> title;
        if (!kivo::CopyTitle(window, title)) return nullptr;
        unsigned int candidate = 0;
        if (GetTargetIndexForWindow(title.Get(), candidates, count, candidate)) {
            index = candidate;
            return static_cast<AXUIElementRef>(CFRetain(window));
        }
    }
    return nullptr;
}

/// The window that a recognised candidate points to, retained; null when its key has no localised
/// title. A title that no window has ends the process here, in the retain of nothing.
AXUIElementRef CZYN_UserSpaceDriver::AlternateWindow(const ZYN_Driver_TargetWindowInfo& candidate) {
    CurrentLanguage language(*this);
    const auto title = language.Title(candidate.altTitle);
    if (!title) return nullptr;
    return static_cast<AXUIElementRef>(CFRetain(GetWindowElementWithTitle(title.Get(), true)));
}
