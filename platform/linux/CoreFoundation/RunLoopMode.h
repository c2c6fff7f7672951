#pragma once

// Inside of the run loop only: its modes and its runs.

#include <CoreFoundation/RunLoop.h>

#include <utility>

namespace kivo {

struct RunLoop::Mode {
    CFRef<CFStringRef> name;
    bool isCommon = false;
    Items items;
    /// Whether what the loop watches is still what is in the mode.
    bool watchIsCurrent = false;

    // What a wait watches: the wake descriptor first, then that of each source.
    std::vector<pollfd> polled;
    std::vector<CFRef<RunLoopSource*>> watched;
    /// Where in `watched` the search for a ready source begins.
    size_t turn = 0;
    bool timersHadTheirTurn = false;

    /// With the lock held, and the changed item retained by the caller.
    void Changed(bool isBeingWaitedFor) {
        watchIsCurrent = false;
        if (!isBeingWaitedFor) watched.clear();
    }
};

/// One run of a loop; runs nest.
struct RunLoop::ActiveRun {
    ActiveRun(RunLoop& runLoop, Mode& runMode, const RunLimits& runLimits)
        : loop(runLoop),
          mode(runMode),
          limits(runLimits),
          outer(std::exchange(runLoop.mInnermost, this)) {}
    ~ActiveRun() {
        const std::lock_guard lock(RunLoopLock());
        loop.mInnermost = outer;
    }
    ActiveRun(const ActiveRun&) = delete;
    ActiveRun& operator=(const ActiveRun&) = delete;

    bool IsEnded() const {
        return isStopped.load(std::memory_order_acquire) ||
               (limits.until != nullptr && limits.until->load(std::memory_order_acquire));
    }

    RunLoop& loop;
    Mode& mode;
    const RunLimits& limits;
    ActiveRun* const outer;
    std::atomic<bool> isStopped{false};
};

}  // namespace kivo
