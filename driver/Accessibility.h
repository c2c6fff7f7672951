#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include "platform/CFRef.h"

/// Reading window elements: the shapes that all the window code shares.
namespace kivo {

/// The window at `index` of a window list, lent by the list.
inline AXUIElementRef WindowAt(CFArrayRef windows, CFIndex index) {
    return static_cast<AXUIElementRef>(CFArrayGetValueAtIndex(windows, index));
}

/// Reads a window's title; false when it cannot be read. The title may be null all the same.
inline bool CopyTitle(AXUIElementRef window, CFRef<CFStringRef>& title) {
    CFTypeRef value = nullptr;
    const AXError error = AXUIElementCopyAttributeValue(window, kAXTitleAttribute, &value);
    if (error != kAXErrorSuccess) return false;
    title = Adopt(static_cast<CFStringRef>(value));
    return true;
}

/// Reads an attribute that holds a value of `type` into `geometry`, whose type must be that of the
/// value. False, with `geometry` unspecified, when it cannot be read or is of another type.
inline bool ReadGeometry(AXUIElementRef window, CFStringRef attribute, AXValueType type,
                         void* geometry) {
    CFTypeRef value = nullptr;
    if (AXUIElementCopyAttributeValue(window, attribute, &value) != kAXErrorSuccess) return false;
    const auto owned = Adopt(static_cast<AXValueRef>(value));
    return AXValueGetValue(owned.Get(), type, geometry);
}

}  // namespace kivo
