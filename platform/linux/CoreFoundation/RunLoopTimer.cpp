#include <CoreFoundation/RunLoop.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kivo {
namespace {

/// About 16 years: what lies further away counts as this, so that no sum overflows.
constexpr CFTimeInterval kFarAway = 504911232;
/// A wall clock that moved by more than this against the monotonic one was set.
constexpr LoopInstant kClockWasSet = std::chrono::microseconds(500);

/// The instant at which the wall clock's origin lies. It is measured once and kept until the wall
/// clock is set, so that equal dates give equal instants.
LoopInstant OriginOfDates() {
    static LoopInstant origin{};
    static bool isKnown = false;
    const LoopClock& clock = LoopClock::Current();
    const LoopInstant now = clock.Now();
    const LoopInstant measured = now - InstantFromSeconds(clock.AbsoluteNow());
    if (!isKnown || std::chrono::abs(measured - origin) > kClockWasSet) origin = measured;
    isKnown = true;
    return origin;
}

}  // namespace

LoopInstant InstantFromSeconds(CFTimeInterval seconds) {
    constexpr double kMost = 9.2e18;
    if (std::isnan(seconds)) return LoopInstant{};
    const double nanoseconds = std::round(seconds * 1e9);
    return LoopInstant(static_cast<int64_t>(std::fmin(std::fmax(nanoseconds, -kMost), kMost)));
}

RunLoopTimer::RunLoopTimer(CFAbsoluteTime fireDate, CFTimeInterval interval, CFIndex order,
                           CFRunLoopTimerCallBack callout, const CFRunLoopTimerContext* context)
    : mInterval(interval > 0 ? interval : 0),
      mStep(interval > 0
                ? std::max(InstantFromSeconds(std::fmin(interval, kFarAway)), LoopInstant(1))
                : LoopInstant{}),
      mOrder(order),
      mCallout(callout) {
    if (context != nullptr) mContext = *context;
    if (mContext.retain != nullptr) {
        mContext.info = const_cast<void*>(mContext.retain(mContext.info));
    }
    const std::lock_guard lock(RunLoopLock());
    SetFire(fireDate);
}

RunLoopTimer::~RunLoopTimer() {
    if (IsValid()) RunLoopTimer::WasInvalidated();
}

CFTypeID RunLoopTimer::TypeID() const {
    return CFRunLoopTimerGetTypeID();
}

void RunLoopTimer::WasInvalidated() {
    void* info = nullptr;
    {
        const std::lock_guard lock(RunLoopLock());
        std::swap(info, mContext.info);
    }
    if (mContext.release != nullptr) mContext.release(info);
}

void RunLoopTimer::GetContext(CFRunLoopTimerContext* context) const {
    const std::lock_guard lock(RunLoopLock());
    *context = mContext;
}

CFAbsoluteTime RunLoopTimer::NextFireDate() const {
    const std::lock_guard lock(RunLoopLock());
    return IsValid() ? mFireDate : 0;
}

void RunLoopTimer::SetNextFireDate(CFAbsoluteTime date) {
    const std::lock_guard lock(RunLoopLock());
    SetFire(date);
    RunLoop::TimerMoved(*this);
}

void RunLoopTimer::SetFire(CFAbsoluteTime date) {
    const LoopClock& clock = LoopClock::Current();
    const CFAbsoluteTime now = clock.AbsoluteNow();
    if (date > now) {
        mFireDate = std::fmin(date, now + kFarAway);
        mFire = OriginOfDates() + InstantFromSeconds(mFireDate);
    } else {
        mFireDate = now;
        mFire = clock.Now();
    }
}

std::optional<LoopInstant> RunLoopTimer::NextFire() const {
    if (mFiring || !IsValid()) return std::nullopt;
    return mFire;
}

void RunLoopTimer::FireIfDue(LoopInstant now) {
    if (!BeginFire(now)) return;
    void* info = mContext.info;
    if (mContext.retain != nullptr) info = const_cast<void*>(mContext.retain(info));
    if (mCallout != nullptr) mCallout(reinterpret_cast<CFRunLoopTimerRef>(this), info);
    if (mContext.release != nullptr) mContext.release(info);
    EndFire();
    if (!Repeats()) Invalidate();
}

bool RunLoopTimer::BeginFire(LoopInstant now) {
    const std::lock_guard lock(RunLoopLock());
    if (mFiring || !IsValid() || mFire > now) return false;
    mFiring = true;
    mFiringFor = mFire;
    mFiringForDate = mFireDate;
    return true;
}

/// A date that the callback set is kept when it is later than the one that fired.
void RunLoopTimer::EndFire() {
    const std::lock_guard lock(RunLoopLock());
    mFiring = false;
    if (Repeats() && mFire <= mFiringFor) MoveOn();
}

/// Moves to the first date of the timer's phase that is still to come: missed ones are skipped.
void RunLoopTimer::MoveOn() {
    const LoopInstant late = LoopClock::Current().Now() - mFiringFor;
    const int64_t steps = late < LoopInstant{} ? 1 : late / mStep + 1;
    mFire = mFiringFor + steps * mStep;
    mFireDate = mFiringForDate + std::chrono::duration<double>(steps * mStep).count();
}

}  // namespace kivo

namespace {

kivo::RunLoopTimer& Timer(CFRunLoopTimerRef timer) {
    return *reinterpret_cast<kivo::RunLoopTimer*>(timer);
}

}  // namespace

CFTypeID CFRunLoopTimerGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFRunLoopTimer");
    return id;
}

CFRunLoopTimerRef CFRunLoopTimerCreate(CFAllocatorRef, CFAbsoluteTime fireDate,
                                       CFTimeInterval interval, CFOptionFlags, CFIndex order,
                                       CFRunLoopTimerCallBack callout,
                                       CFRunLoopTimerContext* context) {
    return reinterpret_cast<CFRunLoopTimerRef>(
        new kivo::RunLoopTimer(fireDate, interval, order, callout, context));
}

CFAbsoluteTime CFRunLoopTimerGetNextFireDate(CFRunLoopTimerRef timer) {
    return Timer(timer).NextFireDate();
}

void CFRunLoopTimerSetNextFireDate(CFRunLoopTimerRef timer, CFAbsoluteTime fireDate) {
    Timer(timer).SetNextFireDate(fireDate);
}

CFTimeInterval CFRunLoopTimerGetInterval(CFRunLoopTimerRef timer) {
    return Timer(timer).Interval();
}

Boolean CFRunLoopTimerDoesRepeat(CFRunLoopTimerRef timer) {
    return Timer(timer).Repeats();
}

CFIndex CFRunLoopTimerGetOrder(CFRunLoopTimerRef timer) {
    return Timer(timer).Order();
}

void CFRunLoopTimerInvalidate(CFRunLoopTimerRef timer) {
    Timer(timer).Invalidate();
}

Boolean CFRunLoopTimerIsValid(CFRunLoopTimerRef timer) {
    return Timer(timer).IsValid();
}

void CFRunLoopTimerGetContext(CFRunLoopTimerRef timer, CFRunLoopTimerContext* context) {
    Timer(timer).GetContext(context);
}
