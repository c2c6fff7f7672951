// The driver's life: start-up, teardown and the signal that asks for it.

#include "driver/CZYN_UserSpaceDriver.h"

#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "ZYNCommon/MessageCodes.h"

CZYN_UserSpaceDriver* CZYN_UserSpaceDriver::sSelf = nullptr;

CZYN_UserSpaceDriver::CZYN_UserSpaceDriver()
    : mLocalPort(kivo::MakeString(kivo::kDriverPortName).Get(), MessageCallbackEntry, nullptr,
                 nullptr),
      mEventTapper(EventTapCallBackEntry) {
    ReadVersion();
    sSelf = this;
    mLocalRunLoopSource = mLocalPort.GetRunLoopSource();
    // Another daemon holds the name: stay idle, without a word to anyone.
    if (mLocalRunLoopSource == nullptr) return;

    CFRunLoopAddSource(CFRunLoopGetCurrent(), mLocalRunLoopSource, kCFRunLoopCommonModes);
    MIDISignIn();
    // The only look for the control center in the life of the process.
    mRemotePort =
        new CACFRemoteMessagePort(kivo::MakeString(kivo::kControlCenterPortName).Get(), nullptr);
    if (!mLocalPort.IsValid()) syslog(0, "local Port is not valid");
    if (!mRemotePort->IsValid()) syslog(0, "remotePort is not valid");
    SendConnectMessage();
    TriggerAXAlert();
    StartTimeoutCounter();
}

CZYN_UserSpaceDriver::~CZYN_UserSpaceDriver() {
    StopTimeoutCounter();
    if (mRemotePort != nullptr) {
        SendDisconnectMessage();
        delete mRemotePort;
    }
    MIDISignOut();
    sSelf = nullptr;
}

void CZYN_UserSpaceDriver::ReadVersion() {
    const CFTypeRef version =
        CFBundleGetValueForInfoDictionaryKey(CFBundleGetMainBundle(), CFSTR("CFBundleVersion"));
    const bool isText = version != nullptr && CFGetTypeID(version) == CFStringGetTypeID();
    if (!isText || !CFStringGetCString(static_cast<CFStringRef>(version), mVersion, sizeof mVersion,
                                       CFStringGetSystemEncoding())) {
        std::strcpy(mVersion, "unknown version");
    }
    // The bundle's own object, so that the log tells a missing version from one that is too long.
    NSLog(CFSTR("CZYN_UserSpaceDriver () version %@\n"), version);
}

void CZYN_UserSpaceDriver::SignalHandler(int) {
    static volatile std::sig_atomic_t teardownAsked = 0;
    if (teardownAsked != 0) _exit(0);
    teardownAsked = 1;
    Workspace_StopMainLoop();
}

void CZYN_UserSpaceDriver::Run() {
    CFRunLoopRun();
}
