#pragma once

#include <ApplicationServices/ApplicationServices.h>

/// Has every key-down and key-up of the session come through a callback that may swallow it.
class ZYN_EventTapper {
  public:
    /// Installs the tap on the calling thread's run loop, in the common modes, enabled and for the
    /// life of the process. Where the platform allows no tap there is silently none.
    explicit ZYN_EventTapper(CGEventTapCallBack callback);
    /// Releases the event source; the tap stays.
    virtual ~ZYN_EventTapper();
    ZYN_EventTapper(const ZYN_EventTapper&) = delete;
    ZYN_EventTapper& operator=(const ZYN_EventTapper&) = delete;

  private:
    void InstallTap();

    CGEventSourceRef mEventSource = nullptr;
    CGEventTapCallBack mCallback = nullptr;
};
