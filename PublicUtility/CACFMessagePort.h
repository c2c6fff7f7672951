#pragma once

#include <CoreFoundation/CoreFoundation.h>

/// The receiving end of a link: a message port of this process under a name of its own.
///
/// The thread that adds the run-loop source to its loop gets the callbacks. Neither wrapper can be
/// copied; both belong to one thread.
class CACFLocalMessagePort {
  public:
    /// Takes `name` for this process. `callback` receives each message on the thread whose run
    /// loop holds the source; it returns an owned reply or null. `invalidationCallback` may be
    /// null. Failure, typically because another process holds the name, leaves the object invalid.
    CACFLocalMessagePort(CFStringRef name, CFMessagePortCallBack callback,
                         CFMessagePortInvalidationCallBack invalidationCallback, void* info);
    virtual ~CACFLocalMessagePort();
    CACFLocalMessagePort(const CACFLocalMessagePort&) = delete;
    CACFLocalMessagePort& operator=(const CACFLocalMessagePort&) = delete;

    /// Whether the port could be made. Does not ask whether it still works.
    bool IsValid() const { return mPort != nullptr; }

    /// The source to add to a run loop; owned by this object, null when the port is invalid.
    CFRunLoopSourceRef GetRunLoopSource() const { return mRunLoopSource; }

  private:
    CFMessagePortRef mPort = nullptr;
    CFRunLoopSourceRef mRunLoopSource = nullptr;
};

/// The sending end of a link: another program's message port, found by its name at construction
/// and never again.
class CACFRemoteMessagePort {
  public:
    /// Looks `name` up once. `invalidationCallback` may be null.
    CACFRemoteMessagePort(CFStringRef name, CFMessagePortInvalidationCallBack invalidationCallback);
    /// Lets go of the port without invalidating it.
    virtual ~CACFRemoteMessagePort();
    CACFRemoteMessagePort(const CACFRemoteMessagePort&) = delete;
    CACFRemoteMessagePort& operator=(const CACFRemoteMessagePort&) = delete;

    /// Whether the port existed at construction. Stays true when its owner goes; sends tell then.
    bool IsValid() const { return mPort != nullptr; }

    /// Sends without waiting for an answer; both times in seconds. Blocks for `sendTimeout` at the
    /// most. Returns a status of CFMessagePortSendRequest, 0 for success. Only on a valid object.
    SInt32 SendRequest(SInt32 msgid, CFDataRef data, double sendTimeout, double rcvTimeout) const;

    /// Sends and runs the calling thread's run loop in `replyMode` until the answer is there or
    /// `rcvTimeout` seconds have passed, so callbacks of that mode may run inside. On success
    /// `*returnData` holds an owned object; on failure it is not written.
    SInt32 SendRequest(SInt32 msgid, CFDataRef data, double sendTimeout, double rcvTimeout,
                       CFStringRef replyMode, CFDataRef* returnData) const;

  private:
    CFMessagePortRef mPort = nullptr;
    CFRunLoopSourceRef mRunLoopSource = nullptr;
};
