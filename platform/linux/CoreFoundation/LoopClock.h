#pragma once

// Inside of the layer only, never installed.

#include <CoreFoundation/CFDate.h>
#include <poll.h>

#include <chrono>
#include <optional>
#include <span>

namespace kivo {

/// The run loop's clock: monotonic, so no change of the wall clock moves a timer.
using LoopInstant = std::chrono::nanoseconds;

/// Time and waiting, as the run loop, its timers and every bounded wait of the layer see them.
/// Tests install a virtual one, in which waiting for nothing costs nothing.
class LoopClock {
  public:
    virtual ~LoopClock() = default;
    /// Time since a fixed point of the past.
    virtual LoopInstant Now() const = 0;
    /// Seconds since 2001-01-01 00:00 UTC, as CFAbsoluteTimeGetCurrent gives them.
    virtual CFAbsoluteTime AbsoluteNow() const = 0;
    /// As ppoll: waits until a descriptor is ready or `deadline` has come (none: for ever; past:
    /// not at all) and returns how many are ready. A signal counts as none ready.
    virtual int Wait(std::span<pollfd> descriptors, std::optional<LoopInstant> deadline) = 0;

    /// The clock in force: the system's unless a test installed another.
    static LoopClock& Current();
    /// Puts `clock` in force, null for the system's again. Not owned. Before any loop runs.
    static void Install(LoopClock* clock);
};

}  // namespace kivo
