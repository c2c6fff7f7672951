#pragma once

#include <ApplicationServices/AXError.h>
#include <CoreFoundation/CoreFoundation.h>
#include <sys/types.h>

/// An application or one of its windows, to be asked for attributes. Elements are equal when they
/// stand for the same application or the same window, whichever list they came from.
///
/// | element     | attribute  | value                                                          |
/// |-------------|------------|----------------------------------------------------------------|
/// | application | AXRole     | "AXApplication"                                                |
/// | application | AXWindows  | array of the managed windows, front to back; empty without one |
/// | window      | AXRole     | "AXWindow"                                                     |
/// | window      | AXTitle    | string; the empty one when the window has no title             |
/// | window      | AXPosition | point: the frame's top left, decorations in, shadows out       |
/// | window      | AXSize     | size of that frame                                             |
/// | window      | AXMain     | can be set to true only: makes the window the active one       |
///
/// Coordinates have their origin at the top left of the primary display, y downward.
typedef const struct __AXUIElement* AXUIElementRef;

#define kAXRoleAttribute CFSTR("AXRole")
#define kAXTitleAttribute CFSTR("AXTitle")
#define kAXWindowsAttribute CFSTR("AXWindows")
#define kAXPositionAttribute CFSTR("AXPosition")
#define kAXSizeAttribute CFSTR("AXSize")
#define kAXMainAttribute CFSTR("AXMain")

#define kAXApplicationRole CFSTR("AXApplication")
#define kAXWindowRole CFSTR("AXWindow")

#ifdef __cplusplus
extern "C" {
#endif

CFTypeID AXUIElementGetTypeID(void);

/// An element for any process identifier: whether there is such a process shows at the first
/// question. A process that the desktop does not know of has no windows. Create rule.
AXUIElementRef AXUIElementCreateApplication(pid_t pid);

/// Asks for an attribute and, on success only, hands its value out under the Copy rule. Main
/// thread; waits for the desktop, at most its answer time-out.
///
/// kAXErrorIllegalArgument without an element, a name or a place for the value;
/// kAXErrorAttributeUnsupported for a name that the element has no value for;
/// kAXErrorInvalidUIElement when the window was closed; kAXErrorCannotComplete when the desktop
/// does not answer or there is none.
///
/// A title that was fetched together with the list answers the first question for AXTitle; each
/// later one, and each for position or size, is put to the desktop.
AXError AXUIElementCopyAttributeValue(AXUIElementRef element, CFStringRef attribute,
                                      CFTypeRef* value);

/// Sets an attribute. Errors as above, and kAXErrorIllegalArgument for a value that the attribute
/// does not take, kAXErrorFailure when the desktop did not do it.
AXError AXUIElementSetAttributeValue(AXUIElementRef element, CFStringRef attribute,
                                     CFTypeRef value);

#ifdef __cplusplus
}
#endif
