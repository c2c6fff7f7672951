#include <CoreFoundation/CFString.h>
#include <CoreFoundation/RunLoop.h>

// The names of the run loop, and the main run that a signal ends.

namespace {

using kivo::LoopClock;
using kivo::LoopInstant;
using kivo::RunLoop;
using kivo::RunLoopItem;

/// Runs longer than this, about 16 years, have no end.
constexpr CFTimeInterval kNoLimit = 504911232;

RunLoop& Loop(CFRunLoopRef runLoop) {
    return *reinterpret_cast<RunLoop*>(runLoop);
}

CFRunLoopRef Reference(RunLoop& runLoop) {
    return reinterpret_cast<CFRunLoopRef>(&runLoop);
}

template <typename Ref>
RunLoopItem& Item(Ref item);

template <>
RunLoopItem& Item(CFRunLoopSourceRef source) {
    return *reinterpret_cast<kivo::RunLoopSource*>(source);
}

template <>
RunLoopItem& Item(CFRunLoopTimerRef timer) {
    return *reinterpret_cast<kivo::RunLoopTimer*>(timer);
}

std::atomic<bool> sMainIsToStop{false};
/// The main loop, once it was asked for: its creation is nothing for a signal handler.
std::atomic<const RunLoop*> sMainLoop{nullptr};
static_assert(std::atomic<bool>::is_always_lock_free &&
              std::atomic<const RunLoop*>::is_always_lock_free);

}  // namespace

const CFRunLoopMode kCFRunLoopDefaultMode = CFSTR("kCFRunLoopDefaultMode");
const CFRunLoopMode kCFRunLoopCommonModes = CFSTR("kCFRunLoopCommonModes");

CFTypeID CFRunLoopGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFRunLoop");
    return id;
}

CFRunLoopRef CFRunLoopGetCurrent() {
    return Reference(RunLoop::Current());
}

CFRunLoopRef CFRunLoopGetMain() {
    return Reference(RunLoop::Main());
}

CFRunLoopMode CFRunLoopCopyCurrentMode(CFRunLoopRef runLoop) {
    return Loop(runLoop).CopyCurrentMode();
}

void CFRunLoopAddCommonMode(CFRunLoopRef runLoop, CFRunLoopMode mode) {
    Loop(runLoop).AddCommonMode(mode);
}

void CFRunLoopRun() {
    CFRunLoopRunResult result = kCFRunLoopRunTimedOut;
    while (result != kCFRunLoopRunStopped && result != kCFRunLoopRunFinished) {
        result = RunLoop::Current().Run(kCFRunLoopDefaultMode, {});
    }
}

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled) {
    kivo::RunLimits limits;
    limits.returnAfterSourceHandled = returnAfterSourceHandled != 0;
    if (!(seconds > 0)) {
        limits.deadline = LoopInstant{};
    } else if (seconds <= kNoLimit) {
        limits.deadline = LoopClock::Current().Now() + kivo::InstantFromSeconds(seconds);
    }
    return RunLoop::Current().Run(mode, limits);
}

Boolean CFRunLoopIsWaiting(CFRunLoopRef runLoop) {
    return Loop(runLoop).IsWaiting();
}

void CFRunLoopWakeUp(CFRunLoopRef runLoop) {
    Loop(runLoop).WakeUp();
}

void CFRunLoopStop(CFRunLoopRef runLoop) {
    Loop(runLoop).Stop();
}

Boolean CFRunLoopContainsSource(CFRunLoopRef runLoop, CFRunLoopSourceRef source,
                                CFRunLoopMode mode) {
    return Loop(runLoop).Contains(Item(source), mode);
}

void CFRunLoopAddSource(CFRunLoopRef runLoop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    Loop(runLoop).Add(Item(source), mode);
}

void CFRunLoopRemoveSource(CFRunLoopRef runLoop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    Loop(runLoop).Remove(Item(source), mode);
}

Boolean CFRunLoopContainsTimer(CFRunLoopRef runLoop, CFRunLoopTimerRef timer, CFRunLoopMode mode) {
    return Loop(runLoop).Contains(Item(timer), mode);
}

void CFRunLoopAddTimer(CFRunLoopRef runLoop, CFRunLoopTimerRef timer, CFRunLoopMode mode) {
    Loop(runLoop).Add(Item(timer), mode);
}

void CFRunLoopRemoveTimer(CFRunLoopRef runLoop, CFRunLoopTimerRef timer, CFRunLoopMode mode) {
    Loop(runLoop).Remove(Item(timer), mode);
}

namespace kivo {

void RunUntilStopped() {
    sMainLoop.store(&RunLoop::Main(), std::memory_order_release);
    RunLimits limits;
    limits.until = &sMainIsToStop;
    while (!sMainIsToStop.exchange(false)) {
        if (RunLoop::Current().Run(kCFRunLoopDefaultMode, limits) == kCFRunLoopRunFinished) return;
    }
}

void StopMainRun() {
    sMainIsToStop.store(true);
    if (const RunLoop* loop = sMainLoop.load(std::memory_order_acquire)) loop->WakeUp();
}

}  // namespace kivo
