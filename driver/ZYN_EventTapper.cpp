#include "driver/ZYN_EventTapper.h"

#include "ZYNCommon/DesignedRetention.h"

ZYN_EventTapper::ZYN_EventTapper(CGEventTapCallBack callback)
    : mEventSource(CGEventSourceCreate(kCGEventSourceStatePrivate)), mCallback(callback) {
    InstallTap();
}

ZYN_EventTapper::~ZYN_EventTapper() {
    if (mEventSource != nullptr) CFRelease(mEventSource);
}

void ZYN_EventTapper::InstallTap() {
    using kivo::DesignedRetention;
    constexpr CGEventMask kKeys = CGEventMaskBit(kCGEventKeyDown) | CGEventMaskBit(kCGEventKeyUp);
    const CFMachPortRef port = CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap,
                                                kCGEventTapOptionDefault, kKeys, mCallback, this);
    if (port == nullptr) return;
    const CFRunLoopSourceRef source = CFMachPortCreateRunLoopSource(kCFAllocatorDefault, port, 0);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopCommonModes);
    // The tap outlives this object: whether keys are forwarded is the driver's to say.
    kivo::RetainByDesign(DesignedRetention::kEventTap, port);
    kivo::RetainByDesign(DesignedRetention::kEventTap, source);
}
