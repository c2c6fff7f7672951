// The pointer and the main screen. AppKit counts as platform/Workspace.h does: from the bottom left
// of the primary display, y upward.

#import <AppKit/AppKit.h>

#include "platform/Workspace.h"
#include "platform/macos/Foundation.h"

CGPoint Workspace_GetPointerLocation() {
    const NSPoint location = [NSEvent mouseLocation];
    return {location.x, location.y};
}

bool Workspace_GetMainScreenFrame(CGRect* frame) {
    const kivo::AutoreleasePool pool;
    NSScreen* screen = [NSScreen mainScreen];
    if (screen == nil) return false;
    const NSRect place = [screen frame];
    *frame = {{place.origin.x, place.origin.y}, {place.size.width, place.size.height}};
    return true;
}
