#include "platform/macos/Permissions.h"

#include <ApplicationServices/ApplicationServices.h>
#import <Foundation/Foundation.h>

namespace {

/// The missing permissions, as System Settings names them; nil when nothing is missing.
NSString* MissingPermissions() {
    const bool isTrusted = AXIsProcessTrusted();
    const bool mayListen = CGPreflightListenEventAccess();
    if (isTrusted) return mayListen ? nil : @"Input Monitoring";
    return mayListen ? @"Accessibility" : @"Accessibility and Input Monitoring";
}

}  // namespace

void kivo::ReportMissingPermissions() {
    static bool isReported = false;
    if (isReported) return;
    isReported = true;
    NSString* missing = MissingPermissions();
    if (missing == nil) return;
    NSLog(
        @"not allowed: %@. Without it windows or keys may be out of reach: switch it on in System "
        @"Settings, Privacy & Security, then start the daemon anew",
        missing);
}
