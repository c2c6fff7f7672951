#include "tests/unit/KivoCtlTesting.h"

#include <unistd.h>

#include <stdexcept>

#include "ZYNCommon/MessageCodes.h"

namespace kivo::ctl {

namespace {

CACFLocalMessagePort MakeDaemonPort(CFMessagePortCallBack callback, void* info) {
    return CACFLocalMessagePort(MakeString(kDriverPortName).Get(), callback, nullptr, info);
}

void AddToLoop(const CACFLocalMessagePort& port) {
    if (!port.IsValid()) throw std::runtime_error("the daemon's port cannot be made");
    CFRunLoopAddSource(CFRunLoopGetCurrent(), port.GetRunLoopSource(), kCFRunLoopCommonModes);
}

CFDataRef EndProcess(CFMessagePortRef, SInt32, CFDataRef, void*) {
    _exit(0);
}

int ServeUntilAsked(const std::string&) {
    const CACFLocalMessagePort port = MakeDaemonPort(EndProcess, nullptr);
    AddToLoop(port);
    test::Report("owned");
    CFRunLoopRun();
    return 1;
}

const test::PeerRoleRegistration kDyingDaemon("dying daemon", ServeUntilAsked);

}  // namespace

Bytes BytesOfSpec(SMessageSpec&& spec) {
    const unsigned char* const bytes = spec.Serialize();
    return {bytes, bytes + spec.SerialBufferSize()};
}

std::vector<std::string> CommandLine(const std::vector<std::string>& words) {
    std::vector<std::string> line = {KIVOCTL};
    line.insert(line.end(), words.begin(), words.end());
    return line;
}

test::ChildProgram::Ending RunKivoctl(const std::vector<std::string>& words) {
    return test::RunProgram(CommandLine(words));
}

ScriptedDaemon::ScriptedDaemon(Script script) : mScript(std::move(script)) {
    std::promise<void> owned;
    std::future<void> isOwned = owned.get_future();
    mThread = std::thread(&ScriptedDaemon::Serve, this, std::move(owned));
    isOwned.get();
}

ScriptedDaemon::~ScriptedDaemon() {
    CFRunLoopSourceSignal(mEndSource.Get());
    CFRunLoopWakeUp(mRunLoop.Get());
    mThread.join();
}

void ScriptedDaemon::Serve(std::promise<void> owned) {
    const CACFLocalMessagePort port = MakeDaemonPort(MessageEntry, this);
    AddToLoop(port);
    mRunLoop = Retain(CFRunLoopGetCurrent());
    CFRunLoopSourceContext context{};
    context.info = this;
    context.perform = [](void* info) { static_cast<ScriptedDaemon*>(info)->mIsEnding = true; };
    mEndSource = Adopt(CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &context));
    CFRunLoopAddSource(mRunLoop.Get(), mEndSource.Get(), kCFRunLoopDefaultMode);
    owned.set_value();
    while (!mIsEnding)
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1e9, true);
    CFRunLoopSourceInvalidate(mEndSource.Get());
}

CFDataRef ScriptedDaemon::MessageEntry(CFMessagePortRef, SInt32 code, CFDataRef data, void* info) {
    const auto length = static_cast<size_t>(CFDataGetLength(data));
    const Bytes reply =
        static_cast<ScriptedDaemon*>(info)->mScript(code, {CFDataGetBytePtr(data), length});
    if (reply.empty()) return nullptr;
    return CFDataCreate(kCFAllocatorDefault, reply.data(), static_cast<CFIndex>(reply.size()));
}

DyingDaemon::DyingDaemon() : mPeer("dying daemon") {
    if (mPeer.Hear() != "owned") throw std::runtime_error("the dying daemon has no port");
}

}  // namespace kivo::ctl
