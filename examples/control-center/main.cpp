// The smallest control center that does something: it owns the port "KivoDriver", prints what the
// daemon tells, asks where the pointer is when another application has come to the front, and ends
// when the daemon goes. Start it before the daemon.

#include <CFRef.h>
#include <CoreFoundation/CoreFoundation.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "PublicUtility/CACFMessagePort.h"
#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"

namespace {

constexpr double kSendSeconds = 1;
constexpr double kAnswerSeconds = 1;

void AskWhereThePointerIs() {
    const auto name = kivo::MakeString(kivo::kDriverPortName);
    const CACFRemoteMessagePort driver(name.Get(), nullptr);
    if (!driver.IsValid()) {
        std::puts("no daemon is running");
        return;
    }
    kivo::CFRef<CFDataRef> reply;
    // While this waits, the run loop goes on and further messages of the daemon are taken.
    const SInt32 status =
        driver.SendRequest(kivo::kMessagePointer, nullptr, kSendSeconds, kAnswerSeconds,
                           kCFRunLoopDefaultMode, reply.Receive());
    if (status != kCFMessagePortSuccess || CFDataGetLength(reply.Get()) < 8) {
        std::printf("the daemon did not say where the pointer is (status %d)\n", status);
        return;
    }
    SPointSpec pointer;
    pointer.Deserialize(CFDataGetBytePtr(reply.Get()));
    std::printf("the pointer is at %d, %d\n", pointer.x, pointer.y);
}

std::string Text(CFDataRef data) {
    const auto* bytes = reinterpret_cast<const char*>(CFDataGetBytePtr(data));
    return {bytes, strnlen(bytes, static_cast<size_t>(CFDataGetLength(data)))};
}

CFDataRef TakeMessage(CFMessagePortRef, SInt32 code, CFDataRef data, void*) {
    std::printf("%s\n", kivo::MessageCodeText(code).c_str());
    switch (code) {
        case kivo::kMessageLanguage:
            std::printf("the language is %s\n", Text(data).c_str());
            AskWhereThePointerIs();
            break;
        case kivo::kMessageFrontBundleID:
            std::printf("%s is in front\n", Text(data).c_str());
            AskWhereThePointerIs();
            break;
        case kivo::kMessageDisconnect:
            CFRunLoopStop(CFRunLoopGetMain());
            break;
        default:
            break;
    }
    return nullptr;  // What the daemon asks, 'Stus' and 'eETC', would be answered here.
}

}  // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const auto name = kivo::MakeString(kivo::kControlCenterPortName);
    const CACFLocalMessagePort port(name.Get(), TakeMessage, nullptr, nullptr);
    if (!port.IsValid()) {
        std::puts("another control center is running");
        return 1;
    }
    CFRunLoopAddSource(CFRunLoopGetMain(), port.GetRunLoopSource(), kCFRunLoopCommonModes);
    std::puts("ready");
    CFRunLoopRun();
}
