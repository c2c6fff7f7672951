#pragma once

// Inside of the layer only, never installed: what the rooms of the layer, and the tests of virtual
// time, need of the run loop beyond the platform's own names.

#include <CoreFoundation/CFRunLoop.h>
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

/// A source that is ready when a descriptor is readable, or when `isReady` says that work was
/// already read into memory.
struct DescriptorSourceContext {
    void* info;
    /// Does the work of one readiness. Called on the thread of the run loop.
    void (*perform)(void* info);
    /// Asked before each wait; null when the descriptor tells all.
    bool (*isReady)(void* info);
};

/// Makes a source of a descriptor, which stays the caller's and must outlive the source's validity.
/// One descriptor source is served in each iteration of the loop, in turn. Create rule.
CFRunLoopSourceRef CreateDescriptorSource(int descriptor, const DescriptorSourceContext& context);

/// Runs the main thread's loop in the default mode until `StopMainRun` was called, before or during
/// the run; a run nested in a callback goes to its own end first. CFRunLoopStop does not end it.
void RunUntilStopped();

/// Ends `RunUntilStopped` on the main thread, the present run or else the next. Async-signal-safe.
void StopMainRun();

}  // namespace kivo
