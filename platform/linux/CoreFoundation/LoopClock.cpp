#include <CoreFoundation/LoopClock.h>
#include <time.h>

#include <algorithm>
#include <atomic>

namespace kivo {
namespace {

constexpr CFTimeInterval kSecondsFrom1970To2001 = 978307200;

LoopInstant Read(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

class SystemClock final : public LoopClock {
  public:
    LoopInstant Now() const override { return Read(CLOCK_MONOTONIC); }

    CFAbsoluteTime AbsoluteNow() const override {
        return std::chrono::duration<double>(Read(CLOCK_REALTIME)).count() - kSecondsFrom1970To2001;
    }

    int Wait(std::span<pollfd> descriptors, std::optional<LoopInstant> deadline) override {
        timespec remaining{};
        if (deadline) {
            const auto left = std::max(*deadline - Now(), LoopInstant{});
            const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
            remaining.tv_sec = seconds.count();
            remaining.tv_nsec = (left - seconds).count();
        }
        const int ready =
            ppoll(descriptors.data(), descriptors.size(), deadline ? &remaining : nullptr, nullptr);
        return std::max(ready, 0);
    }
};

std::atomic<LoopClock*> sInstalled{nullptr};

}  // namespace

LoopClock& LoopClock::Current() {
    static SystemClock system;
    LoopClock* installed = sInstalled.load(std::memory_order_acquire);
    return installed != nullptr ? *installed : system;
}

void LoopClock::Install(LoopClock* clock) {
    sInstalled.store(clock, std::memory_order_release);
}

}  // namespace kivo
