#pragma once

#include <CoreFoundation/CFCGTypes.h>
#include <CoreFoundation/CoreFoundation.h>
#include <sys/types.h>

/// The few things of the desktop that have no C name on macOS, under names of our own. The bodies
/// for macOS are Objective-C++ relays; those for Linux ask the desktop of the session.
///
/// Every call belongs to the main thread. None throws on Linux; on macOS an exception of the
/// platform's own comes through.

#ifndef __OBJC__  // where the Foundation itself declares both

/// The Foundation's string class in C++: toll-free bridged, so a reference to one is a CFStringRef.
using NSString = const struct __CFString;

/// The Foundation's log: one line on standard error, with date, process and the formatted text.
/// `format` takes the conversions of printf and %@ for an object, which prints "(null)" for null.
extern "C" void NSLog(CFStringRef format, ...);

#endif

extern "C" {

/// A running application. A Core Foundation object under the Create/Copy/Get rule; usable, with
/// its values as they were, after the application has ended.
typedef CFTypeRef WorkspaceApplicationRef;

/// The application that has the active window, or null when there is none or no desktop.
WorkspaceApplicationRef Workspace_CopyFrontmostApplication(void);

/// The process identifier, or -1 when the desktop cannot tell it.
pid_t Workspace_GetProcessIdentifier(WorkspaceApplicationRef application);

/// The bundle identifier, or null when the application has none.
CFStringRef Workspace_CopyBundleIdentifier(WorkspaceApplicationRef application);

/// The Info dictionary of the application's bundle, or null when it has no bundle, the bundle
/// cannot be opened, or the bundle has none.
CFDictionaryRef Workspace_CopyInfoDictionary(WorkspaceApplicationRef application);

/// The running applications with this bundle identifier, in the platform's order; an empty array
/// or null when there is none.
CFArrayRef Workspace_CopyRunningApplications(CFStringRef bundleIdentifier);

/// Called for each activation of an application; the application is lent for the call, and null
/// where the platform's notification carries none.
typedef void (*WorkspaceActivationCallBack)(WorkspaceApplicationRef application, void* info);

/// Has `callback` called on the main run loop for each activation, until the process ends or
/// `Workspace_StopObservingActivations` is called with the same `info`.
void Workspace_ObserveActivations(WorkspaceActivationCallBack callback, void* info);
void Workspace_StopObservingActivations(void* info);

/// The pointer's location in points, in the global space whose origin is the bottom left of the
/// primary display, y upward. (0, 0) without a desktop.
CGPoint Workspace_GetPointerLocation(void);

/// Writes the frame of the main screen to `frame`; false, and nothing written, when there is none.
bool Workspace_GetMainScreenFrame(CGRect* frame);

/// Says whether key events are wanted now. Linux takes hold of the keyboards only while they are;
/// on macOS the tap itself passes what is not wanted and this does nothing.
void Workspace_SetKeyboardForwardingWanted(bool wanted);

/// Runs the main run loop in the default mode until `Workspace_StopMainLoop` was called, be it
/// before or during the run.
void Workspace_RunMainLoop(void);

/// Ends `Workspace_RunMainLoop`: not a run nested in one of its callbacks, which goes to its own
/// end first. Async-signal-safe.
void Workspace_StopMainLoop(void);

}  // extern "C"
