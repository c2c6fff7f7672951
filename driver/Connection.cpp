// What the driver tells the control center of itself and of the user's context, and the status it
// can ask for.

#include <cstring>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/RawPayloads.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "driver/CFWorkspace.h"
#include "driver/CZYN_UserSpaceDriver.h"

namespace {

constexpr CFTimeInterval kTickInterval = 0.1;  // seconds
constexpr double kAnnouncementTimeout = 0.01;  // seconds
constexpr SInt32 kNotSent = -2;

}  // namespace

bool CZYN_UserSpaceDriver::SendIdentity(SInt32 msgid) {
    SInt32 status = kNotSent;
    if (mRemotePort != nullptr && mRemotePort->IsValid()) {
        const UInt32 identity = kivo::kIdentityCode;
        UInt8 bytes[sizeof identity];
        std::memcpy(bytes, &identity, sizeof identity);  // in the host's byte order, deliberately
        const auto data = kivo::Adopt(CFDataCreate(kCFAllocatorDefault, bytes, sizeof bytes));
        status = mRemotePort->SendRequest(msgid, data.Get(), kAnnouncementTimeout, 0.0);
    }
    return status == 0;
}

bool CZYN_UserSpaceDriver::SendConnectMessage() {
    return SendIdentity(kivo::kMessageConnect);
}

bool CZYN_UserSpaceDriver::SendDisconnectMessage() {
    return SendIdentity(kivo::kMessageDisconnect);
}

void CZYN_UserSpaceDriver::StartTimeoutCounter() {
    mTimer = CFRunLoopTimerCreate(kCFAllocatorDefault, CFAbsoluteTimeGetCurrent() + kTickInterval,
                                  kTickInterval, 0, 0, TimeoutCounterEntry, nullptr);
    CFRunLoopAddTimer(CFRunLoopGetCurrent(), mTimer, kCFRunLoopDefaultMode);
}

void CZYN_UserSpaceDriver::StopTimeoutCounter() {
    if (mTimer == nullptr) return;
    CFRunLoopRemoveTimer(CFRunLoopGetCurrent(), mTimer, kCFRunLoopDefaultMode);
    CFRunLoopTimerInvalidate(mTimer);
    CFRelease(mTimer);
    mTimer = nullptr;
}

void CZYN_UserSpaceDriver::TimeoutCounterEntry(CFRunLoopTimerRef, void*) {
    if (sSelf == nullptr) return;
    try {
        sSelf->TimeoutCounter();
    } catch (...) {  // only a failed allocation can come here: the tick is lost
    }
}

void CZYN_UserSpaceDriver::TimeoutCounter() {
    if (!mLanguageSent) mLanguageSent = GetLocale();

    unsigned int signature = 0;
    NSString* lentBundleID = nullptr;
    if (!CFWorkspace_ChangedFrontApplicationSignatureAndID(&signature, &lentBundleID)) return;
    const auto bundleID = kivo::Retain(lentBundleID);
    SendFrontApplication(signature, bundleID.Get());
}

void CZYN_UserSpaceDriver::SendFrontApplication(unsigned int signature, CFStringRef bundleID) {
    if (signature != kivo::kNoSignature) {
        unsigned char bytes[sizeof signature];
        std::memcpy(bytes, &signature, sizeof signature);  // in the host's byte order, deliberately
        SendMessage(kivo::kMessageFrontSignature, bytes, sizeof bytes, false, nullptr);
        return;
    }
    char text[kivo::kBundleIdentifierSize] = {};
    if (bundleID == nullptr ||
        !CFStringGetCString(bundleID, text, sizeof text, CFStringGetSystemEncoding())) {
        return;
    }
    SendMessage(kivo::kMessageFrontBundleID, reinterpret_cast<unsigned char*>(text),
                static_cast<unsigned int>(std::strlen(text) + 1), false, nullptr);
}

void CZYN_UserSpaceDriver::RequestVRTStatus() {
    CFDataRef received = nullptr;
    SendMessage(kivo::kMessageStatus, nullptr, 0, true, &received);
    const auto reply = kivo::Adopt(received);
    constexpr CFIndex kLength = kivo::kStatusReplySize;
    if (!reply || CFDataGetLength(reply.Get()) < kLength) return;
    unsigned char bytes[kLength];
    CFDataGetBytes(reply.Get(), CFRangeMake(0, kLength), bytes);
    SetVRTStatus(bytes);
}

void CZYN_UserSpaceDriver::SetVRTStatus(unsigned char* reply) {
    mStatusReserved = 0;
    // The five longs that follow mean something to the control center only.
    mUnitCount = static_cast<unsigned short>(UFromBuffer::GetLong(reply));
    mChannelCount = static_cast<unsigned short>(UFromBuffer::GetLong(reply + 4));
    mStatusValid = true;
}

unsigned short CZYN_UserSpaceDriver::GetUnitCount() {
    return sSelf != nullptr && sSelf->mStatusValid ? sSelf->mUnitCount : 0;
}

unsigned short CZYN_UserSpaceDriver::GetChannelCount() {
    return sSelf != nullptr && sSelf->mStatusValid ? sSelf->mChannelCount : 0;
}
