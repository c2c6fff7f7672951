#include "PublicUtility/CACFMessagePort.h"

CACFLocalMessagePort::CACFLocalMessagePort(CFStringRef name, CFMessagePortCallBack callback,
                                           CFMessagePortInvalidationCallBack invalidationCallback,
                                           void* info) {
    CFMessagePortContext context = {0, info, nullptr, nullptr, nullptr};
    mPort = CFMessagePortCreateLocal(nullptr, name, callback, &context, nullptr);
    if (mPort == nullptr) return;
    if (invalidationCallback != nullptr) {
        CFMessagePortSetInvalidationCallBack(mPort, invalidationCallback);
    }
    mRunLoopSource = CFMessagePortCreateRunLoopSource(nullptr, mPort, 0);
}

CACFLocalMessagePort::~CACFLocalMessagePort() {
    if (mPort != nullptr) {
        CFMessagePortInvalidate(mPort);
        CFRelease(mPort);
    }
    if (mRunLoopSource != nullptr) CFRelease(mRunLoopSource);
}

CACFRemoteMessagePort::CACFRemoteMessagePort(CFStringRef name,
                                             CFMessagePortInvalidationCallBack invalidationCallback)
    : mPort(CFMessagePortCreateRemote(nullptr, name)) {
    if (mPort == nullptr) return;
    if (invalidationCallback != nullptr) {
        CFMessagePortSetInvalidationCallBack(mPort, invalidationCallback);
    }
    mRunLoopSource = CFMessagePortCreateRunLoopSource(nullptr, mPort, 0);
}

CACFRemoteMessagePort::~CACFRemoteMessagePort() {
    if (mPort != nullptr) CFRelease(mPort);
    if (mRunLoopSource != nullptr) CFRelease(mRunLoopSource);
}

SInt32 CACFRemoteMessagePort::SendRequest(SInt32 msgid, CFDataRef data, double sendTimeout,
                                          double rcvTimeout) const {
    return CFMessagePortSendRequest(mPort, msgid, data, sendTimeout, rcvTimeout, nullptr, nullptr);
}

SInt32 CACFRemoteMessagePort::SendRequest(SInt32 msgid, CFDataRef data, double sendTimeout,
                                          double rcvTimeout, CFStringRef replyMode,
                                          CFDataRef* returnData) const {
    return CFMessagePortSendRequest(mPort, msgid, data, sendTimeout, rcvTimeout, replyMode,
                                    returnData);
}
