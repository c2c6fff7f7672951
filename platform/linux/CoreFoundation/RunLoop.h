#pragma once

// Inside of the layer only: the loop behind a CFRunLoopRef.

#include <CoreFoundation/RunLoopItems.h>

#include <memory>

namespace kivo {

/// What ends a run, besides Stop and an empty mode.
struct RunLimits {
    /// None: for ever. Past: one pass.
    std::optional<LoopInstant> deadline;
    bool returnAfterSourceHandled = false;
    /// Ends the run once true; looked at before each wait and after each callback. Who sets it on
    /// another thread wakes the loop.
    const std::atomic<bool>* until = nullptr;
};

/// A thread's run loop. `Run` belongs to that thread, everything else may be called from any.
class RunLoop final : public CFObject {
  public:
    explicit RunLoop(bool isMain);
    ~RunLoop() override;

    /// The calling thread's loop, made when first asked for.
    static RunLoop& Current();
    static RunLoop& Main();

    CFTypeID TypeID() const override;
    void AddCommonMode(CFStringRef name);
    void Add(RunLoopItem& item, CFStringRef modeName);
    void Remove(RunLoopItem& item, CFStringRef modeName);
    bool Contains(const RunLoopItem& item, CFStringRef modeName) const;
    static void RemoveFromAllLoops(RunLoopItem& item);
    /// Lets the loops that wait take notice of a timer's new date.
    static void TimerMoved(const RunLoopTimer& timer);

    CFRunLoopRunResult Run(CFStringRef modeName, const RunLimits& limits);
    void Stop();
    /// Async-signal-safe.
    void WakeUp() const;
    bool IsWaiting() const { return mWaiting.load(std::memory_order_acquire); }
    CFStringRef CopyCurrentMode() const;

  private:
    using Items = std::vector<CFRef<RunLoopItem*>>;
    struct Mode;
    struct ActiveRun;
    class ThreadLoop;

    Mode* FindMode(CFStringRef name) const;
    Mode& FindOrMakeMode(CFStringRef name);
    std::vector<Mode*> ModesNamed(CFStringRef name, bool mayMake);
    bool IsElsewhere(const RunLoopItem& item) const;
    bool Holds(const RunLoopItem& item) const;
    std::vector<Mode*> EraseFrom(const std::vector<Mode*>& modes, const RunLoopItem& item);
    std::vector<Mode*> EraseEverywhere(const RunLoopItem& item);
    void NotifyRemoved(RunLoopItem& item, const std::vector<Mode*>& modes);
    void NoticeChange() const;
    void Dismantle();

    bool IsEmpty(const Mode& mode) const;
    std::optional<CFRunLoopRunResult> Iterate(ActiveRun& run);
    static bool PerformSignalled(Mode& mode, bool onlyOne);
    static std::optional<LoopInstant> WaitLimit(const ActiveRun& run);
    void Wait(Mode& mode, std::optional<LoopInstant> deadline);
    void BeginWait(Mode& mode);
    void EndWait(Mode& mode);
    void Watch(Mode& mode) const;
    static bool FireTimers(Mode& mode);
    static bool PerformReady(Mode& mode);
    static CFRef<RunLoopSource*> TakeReady(Mode& mode);

    const bool mIsMain;
    /// An eventfd that ends a wait.
    const int mWake;
    std::atomic<bool> mWaiting{false};
    // Guarded by RunLoopLock. Modes are never removed.
    std::vector<std::unique_ptr<Mode>> mModes;
    Items mCommonItems;
    ActiveRun* mInnermost = nullptr;
};

}  // namespace kivo
