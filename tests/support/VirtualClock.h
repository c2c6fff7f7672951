#pragma once

#include <CoreFoundation/LoopClock.h>

namespace kivo::test {

/// A clock that moves only when the run loop waits: a wait in which no descriptor is ready ends at
/// once, at its deadline. In force from construction to destruction.
class VirtualClock final : public LoopClock {
  public:
    VirtualClock();
    ~VirtualClock() override;
    VirtualClock(const VirtualClock&) = delete;
    VirtualClock& operator=(const VirtualClock&) = delete;

    LoopInstant Now() const override { return mNow; }
    CFAbsoluteTime AbsoluteNow() const override;
    /// A wait without a deadline in which nothing is ready would last for ever: it ends the test.
    int Wait(std::span<pollfd> descriptors, std::optional<LoopInstant> deadline) override;

    /// Lets time pass without running anything, as a callback that takes long does.
    void Advance(LoopInstant duration) { mNow += duration; }

  private:
    LoopInstant mNow{};
};

}  // namespace kivo::test
