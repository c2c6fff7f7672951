#include "driver/ZYN_Driver_FrontAppObserver.h"

#include <CoreServices/CoreServices.h>

ZYN_Driver_FrontAppObserver* gSelf = nullptr;

namespace {

constexpr OSType kUnknownSignature = 0x3F3F3F3F;  // '????'

void ActivationEntry(WorkspaceApplicationRef application, void* observer) {
    static_cast<ZYN_Driver_FrontAppObserver*>(observer)->newFrontApp(application);
}

CFStringRef TextFor(CFDictionaryRef info, CFStringRef key) {
    return static_cast<CFStringRef>(CFDictionaryGetValue(info, key));
}

}  // namespace

ZYN_Driver_FrontAppObserver* ZYN_Driver_FrontAppObserver::frontAppObserver() {
    return gSelf != nullptr ? gSelf : new ZYN_Driver_FrontAppObserver();
}

ZYN_Driver_FrontAppObserver::~ZYN_Driver_FrontAppObserver() {
    Workspace_StopObservingActivations(this);
}

void ZYN_Driver_FrontAppObserver::observe() {
    const auto frontmost = kivo::Adopt(Workspace_CopyFrontmostApplication());
    collectFrontAppInfo(frontmost.Get());
    mFrontAppChanged = true;
    Workspace_ObserveActivations(ActivationEntry, this);
}

void ZYN_Driver_FrontAppObserver::newFrontApp(WorkspaceApplicationRef application) {
    mFrontAppChanged = true;  // before the record: an activation of nobody is a change as well
    collectFrontAppInfo(application);
}

void ZYN_Driver_FrontAppObserver::collectFrontAppInfo(WorkspaceApplicationRef application) {
    if (application == nullptr) return;
    mProcessID = Workspace_GetProcessIdentifier(application);
    mSignature = kUnknownSignature;
    mBundleID = kivo::Adopt(Workspace_CopyBundleIdentifier(application));
    if (!mBundleID) return;
    const auto info = kivo::Adopt(Workspace_CopyInfoDictionary(application));
    if (!info) return;
    const CFStringRef signature = TextFor(info.Get(), CFSTR("CFBundleSignature"));
    if (signature != nullptr) mSignature = UTGetOSTypeFromString(signature);
    setShortVersion(TextFor(info.Get(), CFSTR("CFBundleShortVersionString")));
}
