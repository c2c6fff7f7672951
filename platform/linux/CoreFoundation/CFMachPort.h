#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFRunLoop.h>

/// Mach ports: Apple's names, as far as an event tap needs them. Only the layer makes ports.

typedef struct __CFMachPort* CFMachPortRef;

#ifdef __cplusplus
extern "C" {
#endif

CFTypeID CFMachPortGetTypeID(void);
/// The source that has the port's events delivered on the run loop that it is added to. One
/// source belongs to a port for all its life: further calls give the same one. Null for a port
/// that was invalidated. Create rule; `order` is that of the first call.
CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocatorRef allocator, CFMachPortRef port,
                                                 CFIndex order);
/// Ends the deliveries for ever and invalidates the port's source. Idempotent.
void CFMachPortInvalidate(CFMachPortRef port);
Boolean CFMachPortIsValid(CFMachPortRef port);

#ifdef __cplusplus
}
#endif
