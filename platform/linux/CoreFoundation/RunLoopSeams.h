#pragma once

// Inside of the layer only, never installed: what the rooms of the layer need of the run loop
// beyond the platform's own names.

#include <CoreFoundation/CFRunLoop.h>

namespace kivo {

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
