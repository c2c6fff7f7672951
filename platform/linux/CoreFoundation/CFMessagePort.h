#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFRunLoop.h>

/// Named ports that take messages with an optional reply, between processes of one user: Apple's
/// names, the subset in use. How they travel is written down in docs/message-ports.md.

typedef struct __CFMessagePort* CFMessagePortRef;

enum {
    kCFMessagePortSuccess = 0,
    kCFMessagePortSendTimeout = -1,
    kCFMessagePortReceiveTimeout = -2,
    kCFMessagePortIsInvalid = -3,
    kCFMessagePortTransportError = -4,
    kCFMessagePortBecameInvalidError = -5
};

typedef struct {
    CFIndex version;
    void* info;
    const void* (*retain)(const void* info);
    void (*release)(const void* info);
    CFStringRef (*copyDescription)(const void* info);
} CFMessagePortContext;

/// Takes one message. `data` is never null and is lent for the call only: copy what is to stay.
/// The result, which may be null, is released by the caller once it has been sent as the reply.
typedef CFDataRef (*CFMessagePortCallBack)(CFMessagePortRef local, SInt32 msgid, CFDataRef data,
                                           void* info);
typedef void (*CFMessagePortInvalidationCallBack)(CFMessagePortRef port, void* info);

#ifdef __cplusplus
extern "C" {
#endif

CFTypeID CFMessagePortGetTypeID(void);

/// Makes a port of this name and owns the name until the port is invalidated or the process ends.
/// A valid local port of the name in this process is returned instead, and everything else that
/// was passed is ignored. Null when another process owns the name or the socket cannot be made.
/// `shouldFreeInfo` may be null; it says true unless a new port was made. A name longer than 128
/// bytes of UTF-8 is cut at a character. A null name makes a port without one. Create rule.
CFMessagePortRef CFMessagePortCreateLocal(CFAllocatorRef allocator, CFStringRef name,
                                          CFMessagePortCallBack callout,
                                          CFMessagePortContext* context, Boolean* shouldFreeInfo);
/// The port of this name in another process or this one, or null when there is none. One object a
/// name and process: a second call returns the same, unless its owner has gone meanwhile, which
/// gives null once. The port keeps itself until it is invalidated or its owner has gone. Does not
/// wait. Create rule.
CFMessagePortRef CFMessagePortCreateRemote(CFAllocatorRef allocator, CFStringRef name);

Boolean CFMessagePortIsRemote(CFMessagePortRef port);
/// Lent; null for a port without a name.
CFStringRef CFMessagePortGetName(CFMessagePortRef port);
/// Gives a local port another name. False when it is remote, or the name is taken.
Boolean CFMessagePortSetName(CFMessagePortRef port, CFStringRef name);
void CFMessagePortGetContext(CFMessagePortRef port, CFMessagePortContext* context);
/// Frees the name, runs the invalidation callback, releases the info and takes the port's source
/// out of all loops, before it returns. Idempotent.
void CFMessagePortInvalidate(CFMessagePortRef port);
/// Asks whether the peer of a remote port still lives and invalidates the port if not.
Boolean CFMessagePortIsValid(CFMessagePortRef port);
CFMessagePortInvalidationCallBack CFMessagePortGetInvalidationCallBack(CFMessagePortRef port);
/// On a port that is already invalid the callback runs at once.
void CFMessagePortSetInvalidationCallBack(CFMessagePortRef port,
                                          CFMessagePortInvalidationCallBack callout);

/// Sends a message to a remote port; null `data` counts as empty. Times are in seconds.
/// Blocks for at most `sendTimeout`, without running the loop, until the kernel has taken it all.
/// Without a `replyMode` that is the end. With one the calling thread's loop runs in that mode
/// until the reply, for at most `rcvTimeout`, and serves whatever else is in the mode.
/// Returns one of the codes above. `*returnData` is written on success only; it is then not null,
/// empty when the callback returned nothing, and the caller releases it.
SInt32 CFMessagePortSendRequest(CFMessagePortRef remote, SInt32 msgid, CFDataRef data,
                                CFTimeInterval sendTimeout, CFTimeInterval rcvTimeout,
                                CFStringRef replyMode, CFDataRef* returnData);

/// The source by which a local port receives. Always the same one, retained anew; null for a port
/// that is invalid or remote. Port and source keep each other until the port is invalidated.
CFRunLoopSourceRef CFMessagePortCreateRunLoopSource(CFAllocatorRef allocator,
                                                    CFMessagePortRef local, CFIndex order);

#ifdef __cplusplus
}
#endif
