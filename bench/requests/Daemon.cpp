#include "bench/requests/Daemon.h"

#include <algorithm>
#include <csignal>
#include <stdexcept>

#include "ZYNCommon/MessageCodes.h"
#include "platform/CFRef.h"

namespace kivo::bench {
namespace {

constexpr double kLongTimeout = 5;  // seconds; far above what is measured

}  // namespace

Daemon::Daemon(const std::string& program)
    : mNotifications(MakeString(kControlCenterPortName).Get(), Receive, nullptr, this) {
    CFRunLoopAddSource(CFRunLoopGetCurrent(), mNotifications.GetRunLoopSource(),
                       kCFRunLoopCommonModes);
    mProgram.emplace(std::vector<std::string>{program});
    Await(kMessageConnect);
    mRequests.emplace(MakeString(kDriverPortName).Get(), nullptr);
}

Daemon::~Daemon() {
    mProgram->Signal(SIGINT);
}

CFDataRef Daemon::Receive(CFMessagePortRef, SInt32 code, CFDataRef, void* self) {
    static_cast<Daemon*>(self)->mReceived.push_back(code);
    return nullptr;
}

void Daemon::Await(SInt32 code) {
    const auto received = [&] {
        return std::find(mReceived.begin(), mReceived.end(), code) != mReceived.end();
    };
    while (!received()) {
        if (CFRunLoopRunInMode(kCFRunLoopDefaultMode, kLongTimeout, true) !=
            kCFRunLoopRunHandledSource) {
            throw std::runtime_error("the daemon did not send " + MessageCodeText(code));
        }
    }
}

CFIndex Daemon::Ask(SInt32 code, const std::vector<unsigned char>& payload) const {
    const auto data =
        Adopt(CFDataCreate(nullptr, payload.data(), static_cast<CFIndex>(payload.size())));
    CFDataRef reply = nullptr;
    const SInt32 status = mRequests->SendRequest(code, data.Get(), kLongTimeout, kLongTimeout,
                                                 kCFRunLoopDefaultMode, &reply);
    if (status != kCFMessagePortSuccess) {
        throw std::runtime_error("the daemon did not answer " + MessageCodeText(code));
    }
    return CFDataGetLength(Adopt(reply).Get());
}

}  // namespace kivo::bench
