#pragma once

// Included before each file of platform/macos: the names that neither this system's layer nor
// GNUstep has, and what a test tells the stand-ins to say.

#include <CoreFoundation/CoreFoundation.h>

typedef struct __CFFileDescriptor* CFFileDescriptorRef;
typedef int CFFileDescriptorNativeDescriptor;
typedef struct CFFileDescriptorContext CFFileDescriptorContext;
typedef void (*CFFileDescriptorCallBack)(CFFileDescriptorRef descriptor, CFOptionFlags types,
                                         void* info);
enum { kCFFileDescriptorReadCallBack = 1UL };

extern "C" {
CFFileDescriptorRef CFFileDescriptorCreate(CFAllocatorRef allocator,
                                           CFFileDescriptorNativeDescriptor descriptor,
                                           Boolean closeOnInvalidate,
                                           CFFileDescriptorCallBack callback,
                                           const CFFileDescriptorContext* context);
void CFFileDescriptorEnableCallBacks(CFFileDescriptorRef descriptor, CFOptionFlags types);
CFRunLoopSourceRef CFFileDescriptorCreateRunLoopSource(CFAllocatorRef allocator,
                                                       CFFileDescriptorRef descriptor,
                                                       CFIndex order);
Boolean AXIsProcessTrusted(void);
bool CGPreflightListenEventAccess(void);
}

#ifdef __OBJC__
#import <AppKit/AppKit.h>

namespace kivo::test {

/// What the stand-ins say.
struct Mac {
    NSRunningApplication* front = nil;
    NSArray* running = nil;
    NSNotificationCenter* center = nil;
    NSPoint pointer = {0, 0};
    bool hasScreen = false;
    NSRect screen = {{0, 0}, {0, 0}};
    bool mayRead = true;
    bool mayListen = true;
};
Mac& TheMac();

}  // namespace kivo::test
#endif
