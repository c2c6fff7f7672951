#pragma once

#include <ApplicationServices/CGEventTypes.h>
#include <CoreFoundation/CFMachPort.h>

/// Quartz events and the tap that sees them: Apple's names, the subset for key events.

#ifdef __cplusplus
extern "C" {
#endif

CFTypeID CGEventGetTypeID(void);
/// An event of type null in which every field is 0. `source` may be null. Create rule.
CGEventRef CGEventCreate(CGEventSourceRef source);
/// A key-down or key-up without flags. Create rule.
CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef source, CGKeyCode virtualKey, bool keyDown);
CGEventType CGEventGetType(CGEventRef event);
CGEventFlags CGEventGetFlags(CGEventRef event);
void CGEventSetFlags(CGEventRef event, CGEventFlags flags);
/// 0 for a field that the event does not have.
int64_t CGEventGetIntegerValueField(CGEventRef event, CGEventField field);
void CGEventSetIntegerValueField(CGEventRef event, CGEventField field, int64_t value);

/// Makes the tap that `callback` is called through for each event of the session that is in
/// `eventsOfInterest`, key-downs and key-ups only: modifiers pass. Null when nothing in the session
/// can hold key events back, when this process may not use what could, when there is a tap already,
/// and for another location than the session. The tap is enabled at once, and events come on the
/// run loop that has the source of the port. Create rule.
///
/// Keyboards are taken hold of only while `Workspace_SetKeyboardForwardingWanted` says so.
CFMachPortRef CGEventTapCreate(CGEventTapLocation tap, CGEventTapPlacement place,
                               CGEventTapOptions options, CGEventMask eventsOfInterest,
                               CGEventTapCallBack callback, void* userInfo);
void CGEventTapEnable(CFMachPortRef tap, bool enable);
bool CGEventTapIsEnabled(CFMachPortRef tap);

#ifdef __cplusplus
}
#endif
