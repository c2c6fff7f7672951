#pragma once

#include <sys/types.h>

#include <atomic>

#include "platform/CFRef.h"
#include "platform/Workspace.h"

class ZYN_Driver_FrontAppObserver;

/// The one observer, null until first asked for.
extern ZYN_Driver_FrontAppObserver* gSelf;

/// Keeps a record of the frontmost application and marks each activation. There is one, reached
/// through `frontAppObserver`; the rest of the system asks it through the CFWorkspace_ functions.
/// Main thread only.
// NOLINTBEGIN(readability-identifier-naming): its methods are named as in the Foundation.
class ZYN_Driver_FrontAppObserver {
  public:
    using Callback = void (*)();

    /// The one observer, made at the first call and kept for the life of the process.
    static ZYN_Driver_FrontAppObserver* frontAppObserver();

    /// Becomes the one observer.
    ZYN_Driver_FrontAppObserver() { gSelf = this; }
    ~ZYN_Driver_FrontAppObserver();
    ZYN_Driver_FrontAppObserver(const ZYN_Driver_FrontAppObserver&) = delete;
    ZYN_Driver_FrontAppObserver& operator=(const ZYN_Driver_FrontAppObserver&) = delete;

    /// Records the application that is in front, marks a change, so that it is reported once, and
    /// registers for activations.
    void observe();

    /// Handles an activation: marks the change, then refreshes the record.
    void newFrontApp(WorkspaceApplicationRef application);

    /// Refreshes the record; null leaves it as it is. The short version stays that of the
    /// application before where this one has no bundle identifier or no Info dictionary.
    void collectFrontAppInfo(WorkspaceApplicationRef application);

    /// The strings are lent until they are set again, and null where there is none.
    NSString* bundleID() const { return mBundleID.Get(); }
    void setBundleID(NSString* text) { mBundleID = kivo::Retain(text); }
    NSString* shortVersion() const { return mShortVersion.Get(); }
    void setShortVersion(NSString* text) { mShortVersion = kivo::Retain(text); }
    OSType signature() const { return mSignature; }
    void setSignature(OSType code) { mSignature = code; }
    Callback callback() const { return mCallback; }
    void setCallback(Callback function) { mCallback = function; }
    bool frontAppChanged() const { return mFrontAppChanged; }
    void setFrontAppChanged(bool changed) { mFrontAppChanged = changed; }
    pid_t processID() const { return mProcessID; }
    void setProcessID(pid_t identifier) { mProcessID = identifier; }

  private:
    kivo::CFRef<NSString*> mBundleID;
    kivo::CFRef<NSString*> mShortVersion;
    std::atomic<OSType> mSignature = 0;
    Callback mCallback = nullptr;
    bool mFrontAppChanged = false;
    pid_t mProcessID = 0;
};
// NOLINTEND(readability-identifier-naming)
