#include <CFRef.h>
#include <CoreFoundation/MessageFrame.h>
#include <CoreFoundation/RunLoopSeams.h>
#include <malloc.h>

#include <mutex>
#include <utility>

namespace kivo::SpareBuffer {
namespace {

constexpr size_t kLeastBytes = 256 * 1024;
constexpr CFTimeInterval kKeptSeconds = 1;

std::mutex sLock;
GrowingBuffer& Spare() {
    static auto& spare = *new GrowingBuffer;
    return spare;
}

void Forget(CFRunLoopTimerRef, void*) {
    GrowingBuffer forgotten = Take();
    forgotten = GrowingBuffer();
    malloc_trim(0);
}

/// Moves the end of the spare buffer's time on, by a timer in the calling thread's loop.
void Prolong() {
    thread_local CFRef<CFRunLoopTimerRef> timer;
    const CFAbsoluteTime end = LoopClock::Current().AbsoluteNow() + kKeptSeconds;
    if (timer && CFRunLoopTimerIsValid(timer.Get())) {
        CFRunLoopTimerSetNextFireDate(timer.Get(), end);
        return;
    }
    timer = Adopt(CFRunLoopTimerCreate(nullptr, end, 0, 0, 0, Forget, nullptr));
    CFRunLoopAddTimer(CFRunLoopGetCurrent(), timer.Get(), kCFRunLoopCommonModes);
}

}  // namespace

GrowingBuffer Take() {
    const std::lock_guard lock(sLock);
    return std::exchange(Spare(), GrowingBuffer());
}

void Give(GrowingBuffer buffer) {
    if (buffer.Capacity() < kLeastBytes) return;
    {
        const std::lock_guard lock(sLock);
        if (buffer.Capacity() > Spare().Capacity()) std::swap(Spare(), buffer);
    }
    Prolong();
}

}  // namespace kivo::SpareBuffer
