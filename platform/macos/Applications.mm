// Who is in front, who runs, and what an application says of itself.

#import <AppKit/AppKit.h>

#include "platform/Workspace.h"
#include "platform/macos/Foundation.h"

using kivo::AutoreleasePool;
using kivo::Created;
using kivo::Lent;

WorkspaceApplicationRef Workspace_CopyFrontmostApplication() {
    const AutoreleasePool pool;
    return Created<CFTypeRef>([[NSWorkspace sharedWorkspace] frontmostApplication]);
}

pid_t Workspace_GetProcessIdentifier(WorkspaceApplicationRef application) {
    return [Lent<NSRunningApplication>(application) processIdentifier];
}

CFStringRef Workspace_CopyBundleIdentifier(WorkspaceApplicationRef application) {
    const AutoreleasePool pool;
    return Created<CFStringRef>([Lent<NSRunningApplication>(application) bundleIdentifier]);
}

CFDictionaryRef Workspace_CopyInfoDictionary(WorkspaceApplicationRef application) {
    const AutoreleasePool pool;
    NSURL* place = [Lent<NSRunningApplication>(application) bundleURL];
    if (place == nil) return nullptr;
    return Created<CFDictionaryRef>([[NSBundle bundleWithURL:place] infoDictionary]);
}

CFArrayRef Workspace_CopyRunningApplications(CFStringRef bundleIdentifier) {
    if (bundleIdentifier == nullptr) return nullptr;
    const AutoreleasePool pool;
    return Created<CFArrayRef>([NSRunningApplication
        runningApplicationsWithBundleIdentifier:Lent<NSString>(bundleIdentifier)]);
}
