#include "tests/macos/relays/StandIns.h"

#include <CoreFoundation/RunLoopSeams.h>

kivo::test::Mac& kivo::test::TheMac() {
    static Mac mac;
    return mac;
}

using kivo::test::TheMac;

NSString* const NSWorkspaceDidActivateApplicationNotification = @"activation";
NSString* const NSWorkspaceApplicationKey = @"application";

@implementation NSRunningApplication
+ (NSArray*)runningApplicationsWithBundleIdentifier:(NSString*)bundleIdentifier {
    NSMutableArray* found = [NSMutableArray array];
    for (NSUInteger i = 0; i < [TheMac().running count]; ++i) {
        NSRunningApplication* one = [TheMac().running objectAtIndex:i];
        if ([[one bundleIdentifier] isEqual:bundleIdentifier]) [found addObject:one];
    }
    return found;
}
- (pid_t)processIdentifier {
    return processID;
}
// New objects each time, so that one too few or too many references shows.
- (NSString*)bundleIdentifier {
    return [[bundleID mutableCopy] autorelease];
}
- (NSURL*)bundleURL {
    return place;
}
@end

@implementation NSWorkspace
+ (NSWorkspace*)sharedWorkspace {
    static NSWorkspace* shared = [[NSWorkspace alloc] init];
    return shared;
}
- (NSRunningApplication*)frontmostApplication {
    return TheMac().front;
}
- (NSNotificationCenter*)notificationCenter {
    static NSNotificationCenter* center = [[NSNotificationCenter alloc] init];
    return center;
}
@end

@implementation NSEvent
+ (NSPoint)mouseLocation {
    return TheMac().pointer;
}
@end

@implementation NSScreen
+ (NSScreen*)mainScreen {
    return TheMac().hasScreen ? [[[NSScreen alloc] init] autorelease] : nil;
}
- (NSRect)frame {
    return TheMac().screen;
}
@end

/// The Foundation's run loop over Core Foundation's, as it is on macOS.
@implementation NSRunLoop (OverCoreFoundation)
- (BOOL)runMode:(NSString*)mode beforeDate:(NSDate*)limit {
    (void)mode;
    (void)limit;
    return CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1e9, true) != kCFRunLoopRunFinished;
}
@end

Boolean AXIsProcessTrusted() {
    return TheMac().mayRead;
}

bool CGPreflightListenEventAccess() {
    return TheMac().mayListen;
}

/// Calls back once for each time that it is enabled, and is no part of the run loop in between.
struct __CFFileDescriptor {
    int descriptor;
    CFFileDescriptorCallBack callback;
    CFRunLoopSourceRef source;
};

namespace {

void Perform(void* info) {
    auto* file = static_cast<CFFileDescriptorRef>(info);
    CFRunLoopRemoveSource(CFRunLoopGetMain(), file->source, kCFRunLoopDefaultMode);
    file->callback(file, kCFFileDescriptorReadCallBack, nullptr);
}

}  // namespace

CFFileDescriptorRef CFFileDescriptorCreate(CFAllocatorRef, CFFileDescriptorNativeDescriptor number,
                                           Boolean, CFFileDescriptorCallBack callback,
                                           const CFFileDescriptorContext*) {
    auto* file = new __CFFileDescriptor{number, callback, nullptr};
    file->source = kivo::CreateDescriptorSource(number, {file, Perform, nullptr});
    return file;
}

void CFFileDescriptorEnableCallBacks(CFFileDescriptorRef file, CFOptionFlags) {
    CFRunLoopAddSource(CFRunLoopGetMain(), file->source, kCFRunLoopDefaultMode);
}

CFRunLoopSourceRef CFFileDescriptorCreateRunLoopSource(CFAllocatorRef, CFFileDescriptorRef file,
                                                       CFIndex) {
    CFRetain(file->source);
    return file->source;
}
