#pragma once

// Inside of the run loop only: what a loop serves.

#include <CFRef.h>
#include <CoreFoundation/CFRuntime.h>
#include <CoreFoundation/LoopClock.h>
#include <CoreFoundation/RunLoopSeams.h>

#include <atomic>
#include <mutex>
#include <vector>

namespace kivo {

class RunLoop;
class RunLoopSource;
class RunLoopTimer;

/// Guards which items are in which modes of which loops, and when timers fire, for all loops of
/// the process: such changes are few and short, and one lock has no order to get wrong. Never held
/// during a callback.
std::mutex& RunLoopLock();

/// What sources and timers have in common: they are in modes of loops, and valid until invalidated.
class RunLoopItem : public CFObject {
  public:
    bool IsValid() const { return mValid.load(std::memory_order_acquire); }
    /// Takes the item out of all loops for ever. Idempotent, from any thread.
    void Invalidate();

    virtual RunLoopSource* AsSource() { return nullptr; }
    virtual RunLoopTimer* AsTimer() { return nullptr; }
    /// Whether the item may be in one loop only.
    virtual bool BelongsToOneLoop() const { return false; }
    virtual void WasAdded(RunLoop&, CFStringRef /*mode*/) {}
    virtual void WasRemoved(RunLoop&, CFStringRef /*mode*/) {}

  protected:
    /// Called once, after the item was taken out of all loops.
    virtual void WasInvalidated() {}

  private:
    std::atomic<bool> mValid{true};
};

/// Something other than time that gives a loop work.
class RunLoopSource : public RunLoopItem {
  public:
    explicit RunLoopSource(CFIndex order) : mOrder(order) {}

    CFTypeID TypeID() const override;
    RunLoopSource* AsSource() override { return this; }
    CFIndex Order() const { return mOrder; }

    /// The descriptor that tells of work, or -1 for a source that is signalled.
    virtual int Descriptor() const { return -1; }
    /// Whether there is work that the descriptor does not tell of. Asked around each wait.
    virtual bool HasKeptWork() { return false; }
    /// Has the source performed in the next pass; for sources without a descriptor.
    virtual void Signal() {}
    virtual bool IsSignalled() const { return false; }
    /// Takes the signal back; false when there was none.
    virtual bool TakeSignal() { return false; }
    /// Does one piece of work; false when it came to nothing that a run should return for.
    virtual bool Perform() = 0;

    virtual void GetContext(CFRunLoopSourceContext* context) const { *context = {}; }

  private:
    const CFIndex mOrder;
};

/// A timer. All but the constructor's values is guarded by `RunLoopLock`.
class RunLoopTimer final : public RunLoopItem {
  public:
    RunLoopTimer(CFAbsoluteTime fireDate, CFTimeInterval interval, CFIndex order,
                 CFRunLoopTimerCallBack callout, const CFRunLoopTimerContext* context);
    ~RunLoopTimer() override;

    CFTypeID TypeID() const override;
    RunLoopTimer* AsTimer() override { return this; }
    bool BelongsToOneLoop() const override { return true; }
    CFIndex Order() const { return mOrder; }
    CFTimeInterval Interval() const { return mInterval; }
    bool Repeats() const { return mStep > LoopInstant{}; }
    void GetContext(CFRunLoopTimerContext* context) const;
    CFAbsoluteTime NextFireDate() const;
    void SetNextFireDate(CFAbsoluteTime date);

    /// When the timer is to fire, or never while it is firing. With the lock held.
    std::optional<LoopInstant> NextFire() const;
    /// Runs the callback if the timer is still due at `now`, and moves on to its next date.
    void FireIfDue(LoopInstant now);

  private:
    void WasInvalidated() override;
    void SetFire(CFAbsoluteTime date);
    bool BeginFire(LoopInstant now);
    void EndFire();
    void MoveOn();

    const CFTimeInterval mInterval;
    const LoopInstant mStep;
    const CFIndex mOrder;
    const CFRunLoopTimerCallBack mCallout;
    CFRunLoopTimerContext mContext{};
    LoopInstant mFire{};
    /// The date that belongs to `mFire`.
    CFAbsoluteTime mFireDate = 0;
    /// The instant and the date for which the callback runs.
    LoopInstant mFiringFor{};
    CFAbsoluteTime mFiringForDate = 0;
    bool mFiring = false;
};

/// The nearest instant to a number of seconds; the ends of the range for what lies beyond.
LoopInstant InstantFromSeconds(CFTimeInterval seconds);

}  // namespace kivo
