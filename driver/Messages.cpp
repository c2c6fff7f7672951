// The driver's one way to send, and the entry of what it receives.

#include <syslog.h>

#include "driver/CZYN_UserSpaceDriver.h"
#include "platform/CFRef.h"

namespace {

constexpr double kSendTimeout = 0.01;   // seconds
constexpr double kReplyTimeout = 0.01;  // seconds

// What a send returns when there is no port to send through: a receive time-out's number.
constexpr SInt32 kNoRemotePort = -2;

}  // namespace

SInt32 CZYN_UserSpaceDriver::SendMessage(SInt32 msgid, unsigned char* bytes, unsigned int length,
                                         bool wantReply, CFDataRef* reply) {
    if (mRemotePort == nullptr || !mRemotePort->IsValid()) {
        syslog(0, "SendMessage no remote port (%p) or remote port invalid",
               static_cast<void*>(mRemotePort));
        return kNoRemotePort;
    }
    const auto data = kivo::Adopt(CFDataCreate(kCFAllocatorDefault, bytes, length));
    if (wantReply && reply != nullptr) {
        const SInt32 status = mRemotePort->SendRequest(msgid, data.Get(), kSendTimeout,
                                                       kReplyTimeout, kCFRunLoopDefaultMode, reply);
        syslog(0, "SendMessage (get reply) returned %.8x", static_cast<unsigned int>(status));
        return status;
    }
    const SInt32 status = mRemotePort->SendRequest(msgid, data.Get(), kSendTimeout, 0.0);
    syslog(0, "SendMessage (no reply) returned %.8x", static_cast<unsigned int>(status));
    return status;
}

CFDataRef CZYN_UserSpaceDriver::MessageCallbackEntry(CFMessagePortRef port, SInt32 msgid,
                                                     CFDataRef data, void* info) {
    if (sSelf == nullptr) return nullptr;
    try {
        return sSelf->MessageCallback(port, msgid, data, info);
    } catch (...) {  // only a failed allocation can come here: the request goes unanswered
        return nullptr;
    }
}
