#include <ApplicationServices/AXUIElement.h>

#include <ApplicationServices/AXValue.h>
#include <CoreFoundation/CFCGTypes.h>
#include <CoreFoundation/CFRuntime.h>
#include <CoreFoundation/CFStringSeams.h>
#include <CoreFoundation/WithoutExceptions.h>

#include <new>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "CFRef.h"
#include "desktop/Desktop.h"

/// What an application's element and a window's have in common: attributes looked up by name.
struct __AXUIElement : public kivo::CFObject {
  public:
    CFTypeID TypeID() const override { return AXUIElementGetTypeID(); }

    /// Writes `value`, under the Copy rule, on success only.
    virtual AXError CopyAttribute(CFStringRef name, CFTypeRef& value) const = 0;
    virtual AXError SetAttribute(CFStringRef, CFTypeRef) const {
        return kAXErrorAttributeUnsupported;
    }
};

namespace kivo {
namespace {

AXError ErrorOf(desktop::Status status) {
    switch (status) {
        case desktop::Status::kOk:
            return kAXErrorSuccess;
        case desktop::Status::kWindowGone:
            return kAXErrorInvalidUIElement;
        case desktop::Status::kNoAnswer:
            return kAXErrorCannotComplete;
        case desktop::Status::kRefused:
            break;
    }
    return kAXErrorFailure;
}

AXError HandOut(CFTypeRef made, CFTypeRef& value) {
    if (made == nullptr) return kAXErrorFailure;
    value = made;
    return kAXErrorSuccess;
}

class WindowElement final : public __AXUIElement {
  public:
    explicit WindowElement(desktop::Window&& window)
        : mWindow(window.id), mListedTitle(std::move(window.title)) {}

    bool Equal(const CFObject& other) const override {
        const auto* window = dynamic_cast<const WindowElement*>(&other);
        return window != nullptr && window->mWindow == mWindow;
    }
    CFHashCode Hash() const override { return static_cast<CFHashCode>(mWindow); }

    AXError CopyAttribute(CFStringRef name, CFTypeRef& value) const override;
    AXError SetAttribute(CFStringRef name, CFTypeRef value) const override;

  private:
    AXError CopyRole(CFTypeRef& value) const { return HandOut(CFRetain(kAXWindowRole), value); }
    AXError CopyTitle(CFTypeRef& value) const;
    AXError CopyPosition(CFTypeRef& value) const;
    AXError CopySize(CFTypeRef& value) const;

    const desktop::WindowID mWindow;
    /// As the list brought it. An answer is never given twice, lest it be stale: the first read
    /// empties this.
    mutable std::optional<std::string> mListedTitle;
};

AXError WindowElement::CopyAttribute(CFStringRef name, CFTypeRef& value) const {
    using Copy = AXError (WindowElement::*)(CFTypeRef&) const;
    static const std::pair<CFStringRef, Copy> attributes[] = {
        {kAXTitleAttribute, &WindowElement::CopyTitle},
        {kAXPositionAttribute, &WindowElement::CopyPosition},
        {kAXSizeAttribute, &WindowElement::CopySize},
        {kAXRoleAttribute, &WindowElement::CopyRole},
    };
    for (const auto& [attribute, copy] : attributes) {
        if (CFEqual(name, attribute)) return (this->*copy)(value);
    }
    return kAXErrorAttributeUnsupported;
}

AXError WindowElement::CopyTitle(CFTypeRef& value) const {
    std::string title;
    if (mListedTitle) {
        title = *std::exchange(mListedTitle, std::nullopt);
    } else if (const auto status = desktop::Current().Title(mWindow, title);
               status != desktop::Status::kOk) {
        return ErrorOf(status);
    }
    return HandOut(CreateStringFromUtf8(title), value);
}

AXError WindowElement::CopyPosition(CFTypeRef& value) const {
    desktop::Rect frame;
    const AXError error = ErrorOf(desktop::Current().Frame(mWindow, frame));
    if (error != kAXErrorSuccess) return error;
    const CGPoint point{frame.x, frame.y};
    return HandOut(AXValueCreate(kAXValueTypeCGPoint, &point), value);
}

AXError WindowElement::CopySize(CFTypeRef& value) const {
    desktop::Rect frame;
    const AXError error = ErrorOf(desktop::Current().Frame(mWindow, frame));
    if (error != kAXErrorSuccess) return error;
    const CGSize size{frame.width, frame.height};
    return HandOut(AXValueCreate(kAXValueTypeCGSize, &size), value);
}

AXError WindowElement::SetAttribute(CFStringRef name, CFTypeRef value) const {
    if (!CFEqual(name, kAXMainAttribute)) return kAXErrorAttributeUnsupported;
    // A window stops being main when another becomes it; there is no asking for less.
    if (!CFEqual(value, kCFBooleanTrue)) return kAXErrorIllegalArgument;
    return ErrorOf(desktop::Current().MakeMain(mWindow));
}

class ApplicationElement final : public __AXUIElement {
  public:
    explicit ApplicationElement(pid_t processID) : mProcessID(processID) {}

    bool Equal(const CFObject& other) const override {
        const auto* application = dynamic_cast<const ApplicationElement*>(&other);
        return application != nullptr && application->mProcessID == mProcessID;
    }
    CFHashCode Hash() const override { return static_cast<CFHashCode>(mProcessID); }

    AXError CopyAttribute(CFStringRef name, CFTypeRef& value) const override {
        if (CFEqual(name, kAXWindowsAttribute)) return CopyWindows(value);
        if (CFEqual(name, kAXRoleAttribute)) return HandOut(CFRetain(kAXApplicationRole), value);
        return kAXErrorAttributeUnsupported;
    }

  private:
    AXError CopyWindows(CFTypeRef& value) const;

    const pid_t mProcessID;
};

AXError ApplicationElement::CopyWindows(CFTypeRef& value) const {
    std::vector<desktop::Window> windows;
    const AXError error = ErrorOf(desktop::Current().WindowsOf(mProcessID, windows));
    if (error != kAXErrorSuccess) return error;
    std::vector<CFRef<CFTypeRef>> owned;
    std::vector<CFTypeRef> elements;
    owned.reserve(windows.size());
    elements.reserve(windows.size());
    for (desktop::Window& window : windows) {
        owned.push_back(CFRef<CFTypeRef>::Adopt(new WindowElement(std::move(window))));
        elements.push_back(owned.back().Get());
    }
    return HandOut(CFArrayCreate(nullptr, elements.data(), static_cast<CFIndex>(elements.size()),
                                 &kCFTypeArrayCallBacks),
                   value);
}

}  // namespace
}  // namespace kivo

CFTypeID AXUIElementGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("AXUIElement");
    return id;
}

AXUIElementRef AXUIElementCreateApplication(pid_t pid) {
    return kivo::WithoutExceptions<AXUIElementRef>(
        nullptr, [pid] { return new kivo::ApplicationElement(pid); });
}

AXError AXUIElementCopyAttributeValue(AXUIElementRef element, CFStringRef attribute,
                                      CFTypeRef* value) {
    if (element == nullptr || attribute == nullptr || value == nullptr) {
        return kAXErrorIllegalArgument;
    }
    return kivo::WithoutExceptions(kAXErrorFailure,
                                   [&] { return element->CopyAttribute(attribute, *value); });
}

AXError AXUIElementSetAttributeValue(AXUIElementRef element, CFStringRef attribute,
                                     CFTypeRef value) {
    if (element == nullptr || attribute == nullptr || value == nullptr) {
        return kAXErrorIllegalArgument;
    }
    return kivo::WithoutExceptions(kAXErrorFailure,
                                   [&] { return element->SetAttribute(attribute, value); });
}
