#include <CFRef.h>
#include <CoreFoundation/CFRunLoop.h>
#include <CoreFoundation/GrowingBuffer.h>
#include <CoreFoundation/LoopClock.h>
#include <malloc.h>

#include <algorithm>
#include <mutex>
#include <utility>

namespace kivo {

bool GrowingBuffer::Resize(size_t capacity) {
    auto* bytes = static_cast<uint8_t*>(std::realloc(mBytes.get(), std::max<size_t>(capacity, 1)));
    if (bytes == nullptr) return false;
    static_cast<void>(mBytes.release());
    mBytes.reset(bytes);
    mCapacity = capacity;
    return true;
}

namespace SpareBuffer {
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

}  // namespace SpareBuffer
}  // namespace kivo
